"""A reader of the screen: it asks the accessibility bus what is there, and hears what is announced."""
import json
import pathlib
import subprocess
import sys
import time

from scene import wait_for


class Reader:
    """A process of its own, since the bus keeps its connection for the life of one."""

    def __init__(self, folder):
        self.heard_file = pathlib.Path(folder) / "heard"
        self.heard_file.touch()
        self.process = subprocess.Popen([sys.executable, "-B", __file__, str(self.heard_file)], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)
        assert json.loads(self.process.stdout.readline()) == "ready"

    def ask(self, *question):
        self.process.stdin.write(json.dumps(question) + "\n")
        self.process.stdin.flush()
        return json.loads(self.process.stdout.readline())

    def tree(self, program="vennic"):
        """All that is showing of a program, from its windows downwards: role, name, states, depth."""
        return self.ask("tree", program)

    def named(self, name, role=None):
        """The one thing that is showing under that name; none without."""
        return next((thing for thing in self.tree() if thing["name"] == name and role in (None, thing["role"])), None)

    def await_named(self, name, role=None):
        return wait_for(lambda: self.named(name, role), f"{name} is there")

    def press(self, name, program="vennic"):
        """Has the program do what a press of the thing under that name does."""
        assert self.ask("press", program, name), f"{name} can't be pressed"

    def focused(self):
        """What has the keyboard; none when nothing says so. What stands around it says that it has it too."""
        focused = [thing for thing in self.tree() if "focused" in thing["states"] and thing["role"] != "frame"]
        return max(focused, key=lambda thing: thing["depth"], default=None)

    def heard(self):
        """The notifications that came up, oldest first: what a reader of the screen says by itself."""
        return self.heard_file.read_text(encoding="utf-8").split("\0")[:-1]

    def stop(self):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.terminate()
        self.process.wait(60)


def main():
    import gi  # here, so that a scene can do without
    gi.require_version("Atspi", "2.0")
    from gi.repository import Atspi, GLib

    subprocess.run(["gdbus", "call", "--session", "--dest", "org.a11y.Bus", "--object-path", "/org/a11y/bus", "--method",
                    "org.freedesktop.DBus.Properties.Set", "org.a11y.Status", "ScreenReaderEnabled", "<true>"], check=True,
                   stdout=subprocess.DEVNULL, timeout=60)
    Atspi.init()
    heard = open(sys.argv[1], "a", encoding="utf-8")

    def hear(event):
        try:
            said = event.source.get_name() if event.source.get_role() == Atspi.Role.NOTIFICATION else ""
        except GLib.Error:  # it is gone already
            return
        if said and event.detail1:
            heard.write(said + "\0")
            heard.flush()

    listener = Atspi.EventListener.new(hear)
    listener.register("object:state-changed:showing")

    def walk(thing, depth, found):
        states = thing.get_state_set()
        if depth > 0 and not (states.contains(Atspi.StateType.SHOWING)):
            return
        place = thing.get_extents(Atspi.CoordType.SCREEN) if depth > 0 else None
        found.append({"role": thing.get_role_name(), "name": thing.get_name(), "description": thing.get_description(), "depth": depth,
                      "states": [state.value_nick for state in states.get_states()],
                      "written": Atspi.Text.get_text(thing, 0, -1) if thing.get_role() == Atspi.Role.TEXT else None,
                      "place": (place.x, place.y, place.width, place.height) if place else None})
        for index in range(thing.get_child_count()):
            child = thing.get_child_at_index(index)
            if child:
                walk(child, depth + 1, found)

    def named(thing, name):
        if thing.get_name() == name:
            return thing
        children = (thing.get_child_at_index(index) for index in range(thing.get_child_count()))
        return next(filter(None, (named(child, name) for child in children if child)), None)

    def press(program, name):
        desktop = Atspi.get_desktop(0)
        applications = (desktop.get_child_at_index(index) for index in range(desktop.get_child_count()))
        application = next(one for one in applications if one and one.get_name().lower() == program)
        application.clear_cache()
        thing = named(application, name)
        actions = [Atspi.Action.get_action_name(thing, index) for index in range(Atspi.Action.get_n_actions(thing))]
        return "Press" in actions and Atspi.Action.do_action(thing, actions.index("Press"))

    def tree(program):
        found = []
        desktop = Atspi.get_desktop(0)
        for index in range(desktop.get_child_count()):
            application = desktop.get_child_at_index(index)
            try:
                if application and application.get_name().lower() == program:
                    application.clear_cache()
                    walk(application, 0, found)
            except GLib.Error as error:
                print(error, file=sys.stderr)
        return found

    loop = GLib.MainLoop()

    def asked(channel, _):
        line = sys.stdin.readline()
        if not line:
            loop.quit()
            return False
        question = json.loads(line)
        print(json.dumps({"tree": tree, "press": press}[question[0]](*question[1:])), flush=True)
        return True

    GLib.io_add_watch(sys.stdin.fileno(), GLib.PRIORITY_DEFAULT, GLib.IOCondition.IN | GLib.IOCondition.HUP, asked)
    print(json.dumps("ready"), flush=True)
    loop.run()


if __name__ == "__main__":
    main()
