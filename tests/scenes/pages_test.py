"""The reference backend's pages in a real browser: what they show, what they ask for, and the keyboard."""
import json
import unittest

from browser import Browser
from model_server import DONE, ModelServer, finish, text
from scene import Scene, wait_for

LOOKS = {"light": (1280, 900, "light"), "dark": (1280, 900, "dark"), "narrow": (360, 740, "light"), "narrow-dark": (360, 740, "dark")}
# What makes a page scroll sideways.
TOO_WIDE = """document.documentElement.scrollWidth <= document.documentElement.clientWidth ? [] :
    [...document.querySelectorAll("body *")].filter((each) => each.getBoundingClientRect().right > document.documentElement.clientWidth)
        .map((each) => each.outerHTML.slice(0, 100))"""


class Pages(Scene):
    def setUp(self):
        super().setUp()
        self.browser = Browser()
        self.addCleanup(self.browser.stop)

    def open(self, path="/console"):
        self.browser.open(self.backend.ready["url"] + path)

    def log_in(self, path="/console"):
        self.open(path)
        self.browser.wait("!document.querySelector('#login').hidden && document.activeElement.id === 'key'")
        self.browser.type(self.backend.key)
        self.browser.key("Enter")
        self.browser.wait("document.querySelector('#login').hidden")

    def chosen(self):
        return self.backend.call("GET", "/owner/answering")

    def pictures(self, name):
        for look, (width, height, scheme) in LOOKS.items():
            self.browser.look(width, height, scheme)
            self.assertEqual(self.browser.run(TOO_WIDE), [], f"{name}, {look}: what sticks out")
            self.browser.picture(f"{name}-{look}")
        self.browser.look(*LOOKS["light"])

    def test_the_owner_chooses_who_answers_by_the_keyboard_and_the_choice_is_kept(self):
        model = ModelServer(self.folder)
        self.addCleanup(model.stop)
        self.start_all()
        self.log_in()
        self.browser.wait("document.querySelector('#answering-simple').checked")
        self.pictures("answering-simple")
        self.browser.tab_to("answering-simple")
        self.browser.key("ArrowDown")
        self.browser.key("ArrowDown")
        self.browser.tab_to("answering-url")
        self.browser.type("http://modele.exemple/v1")
        self.browser.key("Enter")
        self.browser.wait("!document.querySelector('#answering-error').hidden")
        self.assertEqual(self.browser.text("#answering-error"),
                         "L'adresse du modèle n'accepte http que vers la machine du serveur ; ailleurs, https.")
        self.browser.picture("answering-refused")
        self.assertEqual(self.chosen()["who"], "simple")
        self.browser.run("document.querySelector('#answering-url').select()")
        self.browser.type(model.endpoint)
        self.browser.tab_to("answering-model")
        self.browser.type("vennic/essai")
        self.browser.tab_to("answering-key")
        self.browser.type("sk-essai")
        self.browser.key("Enter")
        self.browser.wait("document.querySelector('#answering-state').innerText === 'Enregistré.'")
        self.pictures("answering-server")
        kept = {"who": "server", "url": model.endpoint, "model": "vennic/essai", "has_key": True, "fixed": False}
        self.assertEqual(self.chosen(), kept)
        model.script(text("Bon"), text("jour"), finish("stop"), DONE)
        self.assertEqual(self.client.verb("ask", "salut").stdout, "Bonjour\n")
        self.assertEqual(model.requests()[0]["fields"]["authorization"], "Bearer sk-essai")
        self.backend.stop()
        self.backend.start()
        self.assertEqual(self.chosen(), kept)
        self.log_in()
        self.browser.wait("document.querySelector('#answering-server').checked")
        self.assertEqual(self.browser.run("[document.querySelector('#answering-url').value, document.querySelector('#answering-key').value]"),
                         [model.endpoint, ""])
        self.assertFalse([each for each in self.browser.said if "Content Security Policy" in each])

    def test_what_the_command_line_chose_is_shown_and_not_offered(self):
        self.backend.start("--model-on-machine")
        self.log_in()
        self.browser.wait("document.querySelector('#answering-machine').checked")
        self.assertTrue(self.browser.run("document.querySelector('#answering-choice').disabled"))
        self.assertIn("--model-on-machine", self.browser.text("#answering-fixed"))
        self.pictures("answering-fixed")


if __name__ == "__main__":
    unittest.main()
