#!/usr/bin/env python3
"""The page in a browser, by keyboard alone, as a viewer with a remote control uses it.

Every screen that a test has reached is kept as a picture in the folder that KURA_SCREENS names.
"""

import os
import shutil
import tempfile
import time
import unittest
from pathlib import Path

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

from pictures import png
from served_set import ServedSet, until

SCREENS = Path(os.environ["KURA_SCREENS"])
TELEVISION = (1920, 1080)
SMALL = (1280, 720)
UP, DOWN, LEFT, RIGHT = Keys.ARROW_UP, Keys.ARROW_DOWN, Keys.ARROW_LEFT, Keys.ARROW_RIGHT
ENTER, BACK = Keys.ENTER, Keys.ESCAPE
RAIL = ["start", "home", "storage", "journal"]
PHONE = (360, 740)
FEWEST_PIXELS = 24  # of the smallest letters on a television: 1/45 of its height
FEWEST_ON_PHONE = 16  # in the hand

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
                     "--disable-dev-shm-usage", "--force-prefers-reduced-motion", f"--user-data-dir={folder}"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        SCREENS.mkdir(parents=True, exist_ok=True)
        folder = tempfile.mkdtemp(prefix="kura-browser-")
        cls.addClassCleanup(shutil.rmtree, folder, ignore_errors=True)
        cls.browser = start_browser(folder)
        cls.addClassCleanup(cls.browser.quit)

    def show(self, size=TELEVISION, screen="", **more):
        """Serves a set and opens its page."""
        self.served = ServedSet(**more)
        self.addCleanup(self.served.close)
        self.addCleanup(self.browser.get, "about:blank")
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": size[0], "height": size[1], "deviceScaleFactor": 1, "mobile": False})
        self.browser.get_log("browser")
        self.browser.get(self.served.url + (f"#{screen}" if screen else ""))
        until("the page shows the set", lambda: self.find("h1"))

    def find(self, selector):
        return self.browser.find_elements(By.CSS_SELECTOR, selector)

    def texts(self, selector):
        return self.browser.execute_script(
            "return [...document.querySelectorAll(arguments[0])].map((found) => found.innerText)", selector)

    def focused(self):
        return self.browser.execute_script("return document.activeElement.dataset.key ?? null")

    def press(self, *keys):
        for key in keys:
            ActionChains(self.browser).send_keys(key).perform()

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

    def keep(self, name):
        """A picture of the screen, and that nobody has to squint at it or misses a button."""
        self.browser.save_screenshot(str(SCREENS / f"{name}.png"))
        smallest, clipped = self.browser.execute_script("""
            const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
            const sizes = [];
            for (let node = walker.nextNode(); node; node = walker.nextNode()) {
                if (node.data.trim() && node.parentElement.offsetParent !== null) {
                    sizes.push(parseFloat(getComputedStyle(node.parentElement).fontSize));
                }
            }
            const isOut = (box) => box.width > 0 && (box.left < 0 || box.right > innerWidth + 1);
            const out = [...document.querySelectorAll("[data-key], h1, h2, p")].filter((found) =>
                isOut(found.getBoundingClientRect()));
            return [Math.min(...sizes) * (innerWidth < 720 ? 1 : 1080 / innerHeight),
                out.map((found) => found.outerHTML.slice(0, 200))];""")
        is_phone = self.browser.execute_script("return innerWidth < 720")
        self.assertGreaterEqual(smallest + 0.01, FEWEST_ON_PHONE if is_phone else FEWEST_PIXELS)
        self.assertEqual(clipped, [])
        self.assertFalse(self.browser.execute_script("return document.documentElement.scrollWidth > innerWidth"))

    def assert_quiet(self, *expected):
        """Nothing in the console, and no request to anybody else."""
        found = [entry["message"] for entry in self.browser.get_log("browser") if entry["level"] == "SEVERE"]
        self.assertEqual([text for text in found if not any(part in text for part in expected)], [])
        asked = self.browser.execute_script(
            "return performance.getEntriesByType('resource').map((entry) => entry.name)")
        self.assertTrue(asked)
        self.assertEqual([address for address in asked if not address.startswith(self.served.url)], [])

    # --- Diagnosis and repair ---

    def test_diagnoses_fixes_and_shows_the_shorter_list_by_keyboard_alone(self):
        self.show()
        self.state("unasked")
        self.keep("start-unasked")
        self.press(ENTER)
        self.listed(10)
        self.keep("start-list")
        self.assertEqual(self.focused(), "issue-1001")
        self.press(DOWN, DOWN, UP, UP, ENTER)
        until("the words of success", lambda: self.find(".toast.ok"))
        self.listed(9)
        self.keep("start-fixed")
        self.assertNotIn("1001", self.issues())
        self.assertEqual(self.focused(), f"issue-{self.issues()[0]}")
        self.assertEqual(self.texts(".toast.ok strong"), ["The setting has been changed."])
        self.assertTrue(self.browser.execute_script("""
            const toast = document.querySelector(".toast").getBoundingClientRect();
            const content = document.getElementById("content").getBoundingClientRect();
            return content.bottom <= toast.top + 1;"""), "a message covers the screen")
        self.assertEqual(self.find("#foot .ticker"), [])
        self.assertIn("9 problems found", self.texts(".detail")[0])
        self.assertEqual(self.served.kura("settings", "get", "db/menu/picture/backlight")["value"], 35)
        self.go("home")
        self.listed(9)
        self.keep("home-list")
        self.press(ENTER)
        until("a question", lambda: self.find(".dialog"))
        self.press(RIGHT, ENTER)
        self.assertEqual(self.focused(), "issue-1006")
        self.walk_to("issue-2004", DOWN)
        self.press(ENTER)
        self.listed(8)
        self.assertNotIn("2004", self.issues())
        self.assert_quiet()

    def test_asks_before_a_repair_that_wants_it(self):
        self.show()
        self.press(ENTER)
        self.listed(10)
        self.walk_to("issue-8001", DOWN)
        before = self.served.state()["last"]["number"]
        self.press(ENTER)
        until("a question", lambda: self.find(".dialog"))
        self.keep("start-question")
        self.assertEqual(self.texts(".dialog h2"), ["The TV turns itself on or off"])
        self.press(DOWN, UP, LEFT, RIGHT)
        self.assertEqual(self.focused(), "no")
        self.press(BACK)
        self.assertEqual(self.focused(), "issue-8001")
        self.assertEqual(self.served.state()["last"]["number"], before)
        self.press(ENTER, ENTER)
        self.listed(9)
        self.assertNotIn("8001", self.issues())
        self.assertEqual(self.focused(), f"issue-{self.issues()[-1]}")

    def test_tells_why_a_problem_is_listed_and_what_its_repair_would_do(self):
        self.show()
        self.press(ENTER)
        self.listed(10)
        self.press(RIGHT)
        self.assertEqual(self.focused(), "more-1001")
        self.press(ENTER)
        until("the dialog", lambda: self.find(".dialog"))
        self.assertEqual(self.focused(), "why")
        self.press(ENTER)
        until("the reasons", lambda: self.find('[data-told="why"]'))
        self.keep("start-why")
        tests = self.served.kura("why", "1001")["issues"][0]["tests"]
        self.assertEqual(self.texts(".explained li"), [f"{test['test']} · {test['saw']}" for test in tests])
        self.assertEqual(len(self.find(".explained li.passed")), len(tests))
        self.press(RIGHT, ENTER)
        until("the steps", lambda: self.find('[data-told="preview"]'))
        self.keep("start-preview")
        self.assertEqual(self.texts(".explained li")[0], "sets db/menu/picture/backlight: 5 -> 35")
        self.assertEqual(len(self.texts(".explained li")), len(self.served.kura("fix", "--preview", "1001")["steps"]))
        self.press(BACK)
        self.assertEqual(self.focused(), "more-1001")
        self.assertEqual(len(self.issues()), 10)
        self.assert_quiet()

    def test_opens_the_storage_screen_when_a_repair_does(self):
        self.show()
        self.press(ENTER)
        self.listed(10)
        self.walk_to("issue-16000001", DOWN)
        self.press(ENTER)
        until("the storage screen", lambda: self.texts("h1") == ["Storage"])

    def test_says_so_when_a_repair_changed_nothing(self):
        self.show(description={"faults": {"settings": {"refuse_writes": ["*"]}}})
        self.press(ENTER)
        self.listed(10)
        self.press(ENTER)
        until("the words of failure", lambda: self.find(".toast.failure"))
        self.keep("start-fix-failed")
        self.assertEqual(self.texts(".toast strong"), ["The setting could not be changed. Try again later."])
        self.assertIn("fails: -1", self.texts(".toast span")[0])

    def test_shows_that_nothing_was_found(self):
        def without_problems(served):
            (served.set / "files/opt/usr/share/TVKuraHelp/SolutionMap.xml").write_text(NO_PROBLEM, "utf-8")

        self.show(prepare=without_problems)
        self.press(ENTER)
        self.assertIn("No problems found", self.state("empty"))
        self.keep("start-none")
        self.assertEqual(self.focused(), "recheck")
        self.go("home")
        until("nothing remains", lambda: "No problems remain" in self.texts("#content")[0])
        self.keep("home-none")

    def test_shows_why_it_failed_and_recovers(self):
        self.show(description={"faults": {"engine": {"subscribe": 1}}})
        self.press(ENTER)
        failure = self.state("failure")
        self.keep("start-failed")
        self.assertIn(self.served.state()["screens"]["start"]["error"]["message"], failure)
        self.assertEqual(self.focused(), "retry")
        self.press(ENTER)
        until("the second try", lambda: self.served.state()["last"]["number"] == 2)
        self.state("failure")
        self.served.describe(faults={})
        self.listed(10)

    def test_shows_a_running_call_and_hangs_nothing(self):
        self.show(description={"engine": {"delay_ms": 2500}})
        self.press(ENTER)
        until("the call shows", lambda: self.find("#work strong"))
        self.keep("start-busy")
        self.assertEqual(self.texts("#work strong"), ["Checking this TV"])
        self.press(ENTER)
        self.go("journal")
        self.assertEqual(self.texts("h1"), ["Journal"])
        self.go("start")
        self.listed(10)
        self.assertFalse(self.find("#work > *"))
        self.assertEqual(self.served.state()["last"]["number"], 1)
        self.walk_to("again", UP)
        self.press(ENTER)
        until("the call shows", lambda: self.find("#work strong"))
        self.keep("start-busy-list")
        self.assertTrue(self.browser.execute_script("""
            const box = document.getElementById("work").getBoundingClientRect();
            return document.elementFromPoint(box.x + box.width / 2, box.y + box.height / 2).closest("#work") !== null;
            """))
        self.listed(10)

    def test_shows_a_second_browser_what_the_first_one_does(self):
        self.show()
        first = self.browser.current_window_handle
        self.browser.switch_to.new_window("window")
        try:
            self.browser.get(self.served.url)
            until("the page shows the set", lambda: self.find("h1"))
            self.press(ENTER)
            self.listed(10)
        finally:
            self.browser.close()
            self.browser.switch_to.window(first)
        self.listed(10)

    def test_follows_repairs_elsewhere_commands_and_edited_files(self):
        self.show()
        self.press(ENTER)
        self.listed(10)
        self.go("home")
        self.listed(10)
        self.go("start")
        self.press(ENTER)
        self.listed(9)
        self.go("home")
        self.listed(9)
        self.assertNotIn("1001", self.issues())
        begun = time.monotonic()
        self.served.kura("fix", "2004")
        self.listed(8)
        print(f"a repair by the command shows {time.monotonic() - begun:.2f} s after it began", end=" ", flush=True)
        self.assertNotIn("2004", self.issues())
        texts = self.served.set / "texts/en.json"
        texts.write_text(texts.read_text("utf-8").replace("do not follow the remote", "do not follow the rubber duck"), "utf-8")
        until("the edited text", lambda: any("rubber duck" in title for title in self.texts("[data-issue] strong")))
        self.served.kura("set", "put", "model", '"Living room"')
        until("the new model", lambda: "Living room" in self.texts(".rail-set")[0])
        self.go("start")
        self.listed(8)
        self.served.describe(faults={"engine": {"subscribe": 1}})
        until("the failure", lambda: self.find('.banner[data-state="failure"]'))
        self.keep("start-list-failed")
        self.assertEqual(len(self.issues()), 8, "what was known stays")
        self.assertEqual(len(self.find('[data-key="retry"], [data-key="again"]')), 1)
        self.served.describe(faults={})
        until("the failure is over", lambda: not self.find(".banner"))
        solutions = self.served.set / "files/opt/usr/share/TVKuraHelp/SolutionMap.xml"
        solutions.write_text(NO_PROBLEM, "utf-8")
        self.assertIn("No problems found", self.state("empty"))
        self.assert_quiet("api/diagnose")

    # --- Storage ---

    def test_shows_the_storage_and_the_apps_by_size(self):
        def with_picture(served):
            icon = served.set / "files/opt/usr/apps/org.vesta.fitness/res/icons/304x304.png"
            icon.write_bytes(png(304, 304, (240, 120, 40)))

        self.show(prepare=with_picture)
        self.go("storage")
        until("the apps", lambda: len(self.find(".card.app")) == 9)
        until("a picture", lambda: self.find('[data-key="app-org.vesta.fitness"] img'))
        self.keep("storage")
        parts = self.browser.execute_script("""
            return [...document.querySelectorAll("[data-part]")].map((part) =>
                [part.dataset.part, part.getBoundingClientRect().width]);""")
        self.assertEqual([name for name, _ in parts], ["system", "apps", "other", "free"])
        screens = self.served.state()["screens"]
        figures = screens["storage"]["document"]
        sizes = dict(parts)
        self.assertAlmostEqual(sizes["free"] / sizes["system"],
                               figures["opt"]["remaining"] / figures["flash"]["system_used"], places=1)
        self.assertEqual(self.texts(".card.app strong"), [app["title"] for app in screens["apps"]["document"]["apps"]])
        self.assertEqual(self.texts(".card.app strong")[:2], ["Streambox", "Fitness"])
        self.assertEqual(self.texts(".app-size")[0], "254 MiB")
        self.assertEqual(len(self.find(".card.app img")), 1)
        self.assertEqual(len(self.find(".card.app .letter")), 8)
        self.walk_to("app-org.vesta.browser", DOWN)
        self.press(ENTER)
        until("why the sizes differ", lambda: "109 MiB" in "".join(self.texts(".dialog .note")))
        self.keep("storage-app-sizes")
        self.press(RIGHT, ENTER)
        until("the question", lambda: self.find('[data-key="yes"]'))
        self.assertEqual(self.focused(), "no")
        self.press(ENTER)
        until("no question", lambda: not self.find(".dialog"))
        self.assertNotEqual(self.served.state()["last"]["verb"], "clear-data")
        self.assert_quiet()

    def test_clears_an_apps_cache_and_measures_again(self):
        self.show(size=SMALL)
        self.go("storage")
        until("the apps", lambda: len(self.find(".card.app")) == 9 and not self.find("body.is-busy"))
        self.assertEqual(self.focused(), "clean")
        self.press(DOWN)
        self.assertEqual(self.focused(), "app-org.vesta.streambox")
        self.press(ENTER)
        until("its sizes", lambda: self.texts(".figures dd")[:1] == ["254 MiB"])
        self.keep("storage-app-small")
        self.press(ENTER)
        until("the words of success", lambda: self.texts(".toast.ok strong") == ["The cache of Streambox is empty."])
        until("the list is new", lambda: self.texts(".card.app strong")[:1] == ["Fitness"])
        self.keep("storage-cleared-small")

    def test_cleans_deeply(self):
        self.show()
        self.go("storage")
        until("the apps", lambda: len(self.find(".card.app")) == 9 and not self.find("body.is-busy"))
        free = self.served.state()["screens"]["storage"]["document"]["opt"]["remaining"]
        self.press(ENTER)
        until("the words of success", lambda: self.find(".toast.ok"))
        until("more is free", lambda: self.served.state()["screens"]["storage"]["document"]["opt"]["remaining"] > free)

    def test_shows_that_no_apps_are_listed(self):
        self.show(description={"apps": []})
        self.go("storage")
        self.assertIn("No apps are listed", self.state("empty"))
        self.keep("storage-no-apps")
        self.assertTrue(self.find(".bar-part.free"))

    def test_shows_why_the_storage_could_not_be_measured(self):
        self.show()
        (self.served.set / "set.json").write_text('{"apps": 3}', "utf-8")
        self.go("storage")
        failure = self.state("failure")
        self.keep("storage-failed")
        self.assertIn("set.json", failure)
        until("the button has the focus", lambda: self.focused() == "retry")

    # --- Journal ---

    def test_streams_the_journal(self):
        self.show()
        self.go("journal")
        self.served.kura("fix", "5003")
        until("the request", lambda: any("db/menu/hdmi/device_control" in line for line in self.texts(".line")))
        self.keep("journal")
        self.assertFalse(self.find(".kind-log"))
        self.press(RIGHT, ENTER)
        until("the log", lambda: self.find(".kind-log") and not self.find(".kind-setting"))
        self.press(DOWN)
        self.assertEqual(self.focused(), "journal")
        self.press(*[UP] * 12)
        self.assertNotEqual(self.focused(), "journal")
        (self.served.set / "journal.jsonl").write_text("", "utf-8")
        until("the journal is empty", lambda: not self.find(".line"))
        self.keep("journal-empty")

    # --- Sizes, words, and what a screen reader is told ---

    def test_fits_a_phone_and_names_what_it_shows(self):
        self.show(size=PHONE)
        self.state("unasked")
        self.keep("phone-unasked")
        self.find('[data-key="check"]')[0].click()
        self.listed(10)
        self.keep("phone-list")
        self.assertTrue(self.browser.title.startswith("Diagnosis · "))
        self.assertEqual(len(self.find("ul.cards > li > [data-issue]")), 10)
        self.assertTrue(self.find('nav[aria-label="Screens"]'))
        self.find('[data-issue="8001"]')[0].click()
        until("a question", lambda: self.find(".dialog"))
        self.keep("phone-question")
        self.find('[data-key="no"]')[0].click()
        self.find('[data-key="rail-storage"]')[0].click()
        until("the apps", lambda: len(self.find("ul.cards > li > .card.app")) == 9 and not self.find("body.is-busy"))
        self.keep("phone-storage")
        self.assertTrue(self.browser.title.startswith("Storage · "))
        self.find('[data-key="rail-journal"]')[0].click()
        until("lines", lambda: self.find(".line"))
        self.keep("phone-journal")
        self.assert_quiet()

    def prefer(self, **features):
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [
            {"name": name.replace("_", "-"), "value": value} for name, value in features.items()]})

    def least_contrast(self):
        """The text that stands out least against what is behind it, as [ratio, text]."""
        return self.browser.execute_script("""
            const parts = (colour) => colour.match(/[\\d.]+/g).map(Number);
            const over = ([r, g, b, a = 1], below) =>
                [r, g, b].map((part, place) => a * part + (1 - a) * below[place]);
            const ground = (found) => {
                if (!found) {
                    const style = getComputedStyle(document.documentElement);
                    const hex = style.getPropertyValue("--ground").trim().slice(1);
                    return [0, 2, 4].map((place) => parseInt(hex.slice(place, place + 2), 16));
                }
                return over(parts(getComputedStyle(found).backgroundColor), ground(found.parentElement));
            };
            const light = (colour) => {
                const [r, g, b] = colour.map((part) => part / 255).map((part) =>
                    part <= 0.04045 ? part / 12.92 : ((part + 0.055) / 1.055) ** 2.4);
                return 0.2126 * r + 0.7152 * g + 0.0722 * b;
            };
            const found = [];
            const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
            for (let node = walker.nextNode(); node; node = walker.nextNode()) {
                const holder = node.parentElement;
                if (node.data.trim() && holder.offsetParent !== null && !holder.closest(".letter")) {
                    const behind = ground(holder);
                    const two = [light(over(parts(getComputedStyle(holder).color), behind)), light(behind)].sort();
                    found.push([(Math.max(...two) + 0.05) / (Math.min(...two) + 0.05), node.data]);
                }
            }
            return found.sort((a, b) => a[0] - b[0])[0];""")

    def test_can_be_read_in_the_dark_in_the_light_and_with_more_contrast(self):
        self.show()
        self.addCleanup(self.prefer)
        self.press(ENTER)
        self.listed(10)
        self.go("storage")
        until("the apps", lambda: len(self.find(".card.app")) == 9 and not self.find("body.is-busy"))
        for screen in ("storage", "start", "journal"):
            if screen != "storage":
                self.go(screen)
            for name, features in (("dark", {"prefers_color_scheme": "dark"}),
                                   ("light", {"prefers_color_scheme": "light"}),
                                   ("contrast", {"prefers_color_scheme": "light", "prefers_contrast": "more"})):
                with self.subTest(screen=screen, colours=name):
                    self.prefer(**features)
                    self.keep(f"{screen}-{name}")
                    ratio, words = self.least_contrast()
                    self.assertGreaterEqual(ratio, 4.5, words)
            self.prefer()

    def test_says_which_language_it_speaks(self):
        self.show(size=SMALL, language="fr")
        self.assertEqual(self.browser.execute_script("return document.documentElement.lang"), "en")
        until("the notice", lambda: "fr" in "".join(self.texts("#notice")))
        self.assertEqual(self.texts("#notice")[0].count("“fr”"), 2)
        self.keep("start-language-small")

    # --- What must not happen ---

    def test_never_takes_text_for_markup(self):
        attack = "<img src=x onerror=\"document.title='taken'\"><b>bold</b>"

        def with_markup(served):
            path = served.set / "texts/en.json"
            texts = path.read_text("utf-8")
            path.write_text(texts.replace("The picture is too dark", attack.replace('"', '\\"')), "utf-8")
            served.describe(model=attack)

        self.show(prepare=with_markup)
        self.press(ENTER)
        self.listed(10)
        self.assertEqual(self.texts('[data-issue="1001"] strong'), [attack])
        self.assertIn(attack, self.texts(".rail-set")[0])
        self.served.kura("settings", "set", "db/x", attack)
        self.press(ENTER)
        self.listed(9)
        self.assertEqual(self.find("#content img, #content b, #rail b"), [])
        self.assertNotEqual(self.browser.title, "taken")
        self.assert_quiet()

    def test_tells_that_the_set_is_gone_and_that_the_server_is(self):
        self.show()
        self.served.set.rename(self.served.folder / "away")
        until("the notice", lambda: str(self.served.set) in "".join(self.texts("#notice")))
        self.press(ENTER)
        self.assertIn("no set here", self.state("failure"))
        self.keep("set-gone")
        (self.served.folder / "away").rename(self.served.set)
        until("no notice", lambda: not self.find("#notice:not([hidden])"))
        self.served.end()
        until("the notice", lambda: "kura serve" in "".join(self.texts("#notice")))
        self.keep("server-gone")

    def test_shows_every_screen_in_another_language_on_a_small_television(self):
        self.show(size=SMALL, language="de")
        self.press(ENTER)
        self.listed(10)
        self.assertEqual(self.texts("h1"), ["Diagnose"])
        self.assertEqual(self.browser.execute_script("return document.documentElement.lang"), "de")
        self.keep("start-list-small-de")
        self.go("home")
        self.listed(10)
        self.keep("home-list-small-de")
        self.go("storage")
        until("the apps", lambda: len(self.find(".card.app")) == 9)
        self.keep("storage-small-de")
        self.go("journal")
        until("lines", lambda: self.find(".line"))
        self.keep("journal-small-de")
        self.assert_quiet()


if __name__ == "__main__":
    unittest.main(verbosity=2)
