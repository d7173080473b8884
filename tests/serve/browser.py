"""A browser on the page of a set of the test's own, used by keyboard alone, as a viewer with a remote control does."""

import os
import shutil
import tempfile
import unittest
from pathlib import Path

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

import kept_pictures
from served_set import MEMORY, ServedSet, until

TELEVISION = (1920, 1080)
SMALL = (1280, 720)
PHONE = (360, 740)
CLOCK = "2025-06-01T12:00:00"
UP, DOWN, LEFT, RIGHT = Keys.ARROW_UP, Keys.ARROW_DOWN, Keys.ARROW_LEFT, Keys.ARROW_RIGHT
ENTER, BACK, TAB = Keys.ENTER, Keys.ESCAPE, Keys.TAB
RAIL = ["start", "home", "storage", "history", "journal"]
CHECKS = (Path(__file__).parent / "page_checks.js").read_text("utf-8")
COLOURS = {
    "dark": {"prefers-color-scheme": "dark"},
    "light": {"prefers-color-scheme": "light"},
    "contrast": {"prefers-color-scheme": "light", "prefers-contrast": "more"},
}

NO_PROBLEM = """<?xml version="1.0" encoding="UTF-8"?>
<solutionmap><sminfo version="1"/><sm cnt="1"/>
<solution issue_code="1009" sol_code="100901" sol_type="INFO" sol_name="" sid_issue="A" sid_sol="B" sid_button1="C"
  sid_button2="D" reboot="no" is_fg_bg="fg" action="NONE" toast1="E" toast2="F" source="ALL" view_authority="USER">
<sol_val param_value="" param_type="string"/></solution></solutionmap>
"""


def start_browser(folder):
    options = webdriver.ChromeOptions()
    options.binary_location = shutil.which("chromium")
    for argument in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                     "--disable-background-networking", "--disable-component-update", "--disable-sync",
                     "--disable-dev-shm-usage", f"--user-data-dir={folder}"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    surroundings = {**os.environ, "FONTCONFIG_FILE": kept_pictures.fonts_file(folder)}
    return webdriver.Chrome(service=Service(shutil.which("chromedriver"), env=surroundings), options=options)


# Messages of the page stay until the next one, however slow the machine is.
LASTING_MESSAGES = """
    const wait = window.setTimeout;
    window.setTimeout = (act, time, ...more) => time >= 5000 ? 0 : wait(act, time, ...more);"""


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.mkdtemp(prefix="kura-browser-", dir=MEMORY)
        cls.addClassCleanup(shutil.rmtree, folder, ignore_errors=True)
        cls.browser = start_browser(folder)
        cls.addClassCleanup(cls.browser.quit)
        cls.browser.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": LASTING_MESSAGES})
        if not kept_pictures.are_compared():
            print(f"pictures not compared: there are none of {kept_pictures.RELEASE}; --update writes them")

    def show(self, size=SMALL, screen="", description=None, **more):
        """Serves a set and opens its page. The clock of the set stands, so that its screens look the same each time."""
        self.served = ServedSet(description={"clock": CLOCK, **(description or {})}, **more)
        self.addCleanup(self.served.close)
        self.resize(size)
        self.prefer("dark")
        self.browser.get_log("browser")
        self.browser.get(self.served.url + (f"#{screen}" if screen else ""))
        until("the page shows the set", lambda: self.find("h1"))

    def resize(self, size):
        self.size = size
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": size[0], "height": size[1], "deviceScaleFactor": 1, "mobile": False})

    def prefer(self, colours, motion="reduce"):
        features = {**COLOURS[colours], "prefers-reduced-motion": motion}
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [
            {"name": name, "value": value} for name, value in features.items()]})

    def run_in_page(self, script, *arguments):
        return self.browser.execute_script(script, *arguments)

    def find(self, selector):
        return self.browser.find_elements(By.CSS_SELECTOR, selector)

    def texts(self, selector):
        return self.browser.execute_script(
            "return [...document.querySelectorAll(arguments[0])].map((found) => found.innerText)", selector)

    def focused(self):
        return self.browser.execute_script("return document.activeElement.dataset.key ?? null")

    def press(self, *keys):
        ActionChains(self.browser).send_keys(*keys).perform()

    def go(self, screen):
        """To a screen by the rail, with the remote's keys."""
        here = self.browser.execute_script("return location.hash.slice(1)")
        self.press(BACK)
        self.assertEqual(self.focused(), f"rail-{here}")
        way = RAIL.index(screen) - RAIL.index(here)
        self.press(*([DOWN] * way if way > 0 else [UP] * -way), ENTER)

    def walk_to(self, key, direction, most=30):
        for _ in range(most):
            if self.focused() == key:
                return
            self.press(direction)
        self.fail(f"{key} was not reached; the focus is on {self.focused()}")

    def state(self, kind):
        """The words of the state that fills the screen."""
        return until(f"the state {kind}", lambda: self.texts(f'[data-state="{kind}"]'))[0]

    def issues(self):
        return self.browser.execute_script(
            "return [...document.querySelectorAll('[data-issue]')].map((card) => card.dataset.issue)")

    def listed(self, count):
        until(f"{count} problems and no call", lambda: len(self.issues()) == count and not self.find("body.is-busy"))

    def keep(self, name, changing=""):
        """The screen looks like its kept picture. Nobody has to squint at it, misses a button or is told something wrong,
        whatever the size and the colours. changing: what the picture leaves out."""
        size = self.size
        wrong = ""
        if kept_pictures.are_compared():
            wrong = kept_pictures.complaint(lambda: kept_pictures.taken(self.browser, size, changing), name)
        findings = self.run_in_page(CHECKS, ["structure", "remote", "motion"])
        for other in (PHONE, SMALL, TELEVISION):
            self.resize(other)
            findings += [f"{other}: {finding}" for finding in self.run_in_page(CHECKS, ["room"])]
        for colours in reversed(COLOURS):
            self.prefer(colours)
            findings += [f"{colours}: {finding}" for finding in self.run_in_page(CHECKS, ["colours"])]
        self.resize(size)
        findings += filter(None, [wrong])
        with self.subTest(screen=name):
            self.assertFalse(findings, "\n".join(findings))

    def assert_quiet(self, *expected):
        """Nothing in the console, and no request to anybody else."""
        found = [entry["message"] for entry in self.browser.get_log("browser") if entry["level"] == "SEVERE"]
        self.assertEqual([text for text in found if not any(part in text for part in expected)], [])
        asked = self.browser.execute_script(
            "return performance.getEntriesByType('resource').map((entry) => entry.name)")
        self.assertTrue(asked)
        self.assertEqual([address for address in asked if not address.startswith(self.served.url)], [])
