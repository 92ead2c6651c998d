"""The end of the desktop's session: the client ends with it, asks nothing, and loses nothing."""
import os
import pathlib
import subprocess
import sys
import unittest

from desktop import DesktopScene
from model_server import DONE, ModelServer, finish, text
from scene import wait_for


class SessionEnd(DesktopScene):
    def start_display(self):
        """An X server of the scene's own, which the client shows itself on."""
        reading, writing = os.pipe()
        display = subprocess.Popen(["Xvfb", "-displayfd", str(writing), "-screen", "0", "1280x800x24", "-nolisten", "tcp", "-noreset"],
                                   pass_fds=(writing,), stderr=subprocess.DEVNULL)
        os.close(writing)
        self.addCleanup(display.wait)
        self.addCleanup(display.kill)
        with os.fdopen(reading) as report:
            self.client.show_on(":" + report.readline().strip())
        return display

    def start_manager(self):
        """A session manager, which the client finds as any program of a session does."""
        manager = subprocess.Popen([sys.executable, "-B", pathlib.Path(__file__).with_name("session_manager.py")], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, text=True, env={**os.environ, "HOME": str(self.folder)})
        self.addCleanup(manager.stdout.close)
        self.addCleanup(manager.wait)
        self.addCleanup(manager.terminate)
        self.client.environment["SESSION_MANAGER"] = manager.stdout.readline().strip()
        return manager

    def check_that_all_was_kept(self):
        status = self.client.status()
        self.assertEqual((status["authenticated"], status["messages"]), (True, 2))

    def test_the_end_of_the_display_ends_the_client(self):
        # The display's library ends the process there and then, and nothing is given back.
        options = self.client.environment.get("ASAN_OPTIONS")
        self.client.environment["ASAN_OPTIONS"] = ":".join(filter(None, [options, "detect_leaks=0"]))
        display = self.start_display()
        self.start_all()
        self.assertEqual(self.client.verb("toggle").returncode, 0)
        answer = self.client.verb("ask", "aide")
        self.assertEqual(answer.returncode, 0, answer.stderr)
        display.kill()
        self.client.process.wait(20)
        self.start_display()
        self.client.start()
        self.check_that_all_was_kept()

    def test_the_session_manager_ends_the_client_without_a_question_and_what_it_has_to_say_is_said(self):
        manager = self.start_manager()
        model = ModelServer(self.folder)
        self.addCleanup(model.stop)
        self.start_all()
        self.assertEqual(manager.stdout.readline(), "registered\n")
        self.assertEqual(manager.stdout.readline(), "saved\n")
        self.assertEqual(self.client.verb("model", "endpoint", model.endpoint).returncode, 0)
        self.assertEqual(self.client.verb("toggle").returncode, 0)
        self.await_popover()
        model.script(text("Voilà."), finish("stop"), DONE)
        answer = self.client.verb("ask", "--local", "dis")
        self.assertEqual(answer.returncode, 0, answer.stderr)
        manager.stdin.write("shutdown\n")
        manager.stdin.flush()
        self.assertEqual(self.client.process.wait(20), 0)
        self.assertEqual([manager.stdout.readline() for _ in range(2)], ["saved\n", "closed\n"])
        self.assertEqual(self.xdotool("search", "--onlyvisible", "--classname", "vennic-dialog"), "")
        self.assertFalse(self.is_on_the_bus())
        discussions = self.backend.call("GET", "/owner/discussions")
        self.assertEqual([discussion["name"] for discussion in discussions], ["dis"])
        del self.client.environment["SESSION_MANAGER"]
        self.client.start()
        self.check_that_all_was_kept()


if __name__ == "__main__":
    unittest.main()
