#!/usr/bin/env python3
"""Sizes, colours, words and keys of the page."""

import itertools
import re
import unittest
from pathlib import Path

from PIL import Image

import kept_pictures
from browser import BACK, CHECKS, ENTER, PHONE, RIGHT, PageTest
from served_set import until

PAGE = Path(__file__).resolve().parents[2] / "cli/serve/page"

# Each adds one flaw to the page; the checks of a group must tell it.
FLAWS = {
    "structure": {
        "no language": '<p lang="english">a</p>',
        "same id": '<p id="flaw">a</p><p id="flaw">b</p>',
        "left out a level": "<h4>a</h4>",
        "second h1": "<h1>a</h1>",
        "no item": "<ul><p>a</p></ul>",
        "stray item": "<div><li>a</li></div>",
        "terms alone": "<dl><div><dt>a</dt></div></dl>",
        "paragraph in a button": '<button data-key="x"><p>a</p></button>',
        "no name": '<button data-key="x"><span aria-hidden="true">a</span></button>',
        "no role": '<div tabindex="0" data-key="x">a</div>',
        "positive tabindex": '<button tabindex="3" data-key="x">a</button>',
        "control in a control": '<button data-key="x">a<span tabindex="0" role="region" aria-label="b">b</span></button>',
        "another label": '<button aria-label="c" data-key="x">a</button>',
        "no alt": '<img src="icon.svg">',
        "unnamed drawing": "<svg></svg>",
        "unnamed picture": '<div role="img">  </div>',
        "unknown attribute": '<p aria-labelled="a">a</p>',
        "wrong value": '<p aria-hidden="yes">a</p>',
        "unknown role": '<p role="picture">a</p>',
        "name that nobody reads": '<div aria-label="a">a</div>',
        "named by nothing": '<div role="region" aria-labelledby="nothing"></div>',
        "pressed text": '<p aria-pressed="true">a</p>',
        "hidden control": '<div aria-hidden="true"><button data-key="x">a</button></div>',
        "unfocused dialog": '<div role="dialog" aria-modal="true" aria-label="a">a</div>',
    },
    "room": {
        "small target": '<button class="flaw-small" data-key="x">a</button>',
        "no way to scroll": '<div class="flaw-long"><p>a</p><p>a</p><p>a</p></div>',
        "out of the screen": '<p class="flaw-out">a</p>',
        "small letters": '<p class="flaw-letters">a</p>',
    },
    "colours": {
        "little contrast": '<p class="flaw-grey">a</p>',
        "veiled": '<p class="flaw-veil">a</p>',
        "on a gradient": '<p class="flaw-gradient">a</p>',
        "unseen focus": '<button class="flaw-focus" data-key="x">a</button>',
    },
    "remote": {
        "out of reach": '<button class="flaw-behind" data-key="x">a</button>',
        "no key": "<button>a</button>",
    },
}
FLAW_STYLE = """
    .flaw-small { width: 20px; height: 20px; padding: 0; overflow: hidden; }
    .flaw-long { height: 2rem; overflow-y: auto; }
    .flaw-out { margin-left: -60rem; }
    .flaw-letters { font-size: 0.5rem; }
    .flaw-grey { color: #555; }
    .flaw-veil { opacity: 0.3; }
    .flaw-gradient { background: linear-gradient(#fff, #000); }
    .flaw-focus:focus { outline: none !important; }
    .flaw-behind { position: fixed; inset: 0; }
    """


class LooksTest(PageTest):
    def test_the_checks_see_each_flaw(self):
        # The page itself takes no markup from anybody.
        self.browser.execute_cdp_cmd("Page.setBypassCSP", {"enabled": True})
        self.addCleanup(self.browser.execute_cdp_cmd, "Page.setBypassCSP", {"enabled": False})
        self.show()
        self.state("unasked")
        self.run_in_page("""
            const sheet = new CSSStyleSheet();
            sheet.replaceSync(arguments[0]);
            document.adoptedStyleSheets = [sheet];""", FLAW_STYLE)
        for group, flaws in FLAWS.items():
            self.assertEqual(self.run_in_page(CHECKS, [group]), [])
            for name, markup in flaws.items():
                with self.subTest(flaw=name):
                    self.run_in_page("""
                        const planted = document.createElement("div");
                        planted.id = "planted";
                        planted.innerHTML = arguments[0];
                        document.getElementById("stage").append(planted);""", markup)
                    self.assertTrue(self.run_in_page(CHECKS, [group]))
                    self.run_in_page("document.getElementById('planted').remove()")

    def test_each_kept_picture_is_of_a_screen_and_unlike_the_others(self):
        """What the comparison tolerates hides no screen behind another one."""
        if kept_pictures.UPDATE or not kept_pictures.are_compared():
            self.skipTest(f"no pictures of {kept_pictures.RELEASE} are compared")
        kept = {path.stem: Image.open(path).convert("RGB") for path in kept_pictures.KEPT.glob("*.png")}
        screens = re.findall(r'self[.]keep[(]"([^"]+)"', "".join(
            path.read_text("utf-8") for path in Path(__file__).parent.glob("browser_*_test.py")))
        self.assertEqual(sorted(kept), sorted(screens))
        for one, other in itertools.combinations(sorted(kept), 2):
            share = kept_pictures.difference(kept[one], kept[other])
            self.assertGreater(share, kept_pictures.TOLERATED, f"{one} and {other} are alike")

    def test_knows_the_back_keys_of_remote_controls(self):
        self.show()
        self.state("unasked")
        self.press(BACK)
        for key in ("GoBack", "BrowserBack", "Backspace", "Escape"):
            self.press(RIGHT)
            self.assertEqual(self.focused(), "check")
            self.run_in_page("""document.activeElement.dispatchEvent(
                new KeyboardEvent("keydown", { key: arguments[0], bubbles: true, cancelable: true }));""", key)
            self.assertEqual(self.focused(), "rail-start", key)

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
        self.find('[data-key="rail-journal"]')[0].click()
        until("lines", lambda: self.find(".line"))
        self.keep("phone-journal", changing=".lines")
        self.find('[data-key="rail-storage"]')[0].click()
        until("the apps", lambda: len(self.find("ul.cards > li > .card.app")) == 9 and not self.find("body.is-busy"))
        self.keep("phone-storage")
        self.assertTrue(self.browser.title.startswith("Storage · "))
        self.assert_quiet()

    def test_fits_tablets_and_large_televisions(self):
        self.show()
        self.press(ENTER)
        self.listed(10)
        for size in ((800, 1280), (1280, 800), (3840, 2160), (7680, 4320)):
            with self.subTest(size=size):
                self.resize(size)
                self.assertEqual(self.run_in_page(CHECKS, ["room"]), [])

    def test_gives_a_narrow_screen_no_colours_of_its_own(self):
        """So each colour is checked at one size."""
        for path in sorted(PAGE.glob("*.css")):
            narrow = path.read_text("utf-8").split("@media (max-width: 720px), (orientation: portrait)")
            self.assertEqual(len(narrow), 2, path.name)
            self.assertEqual(re.findall(r"[\w-]*color[\w-]*:|background:|opacity:", narrow[1]), [], path.name)

    def test_says_which_language_it_speaks(self):
        self.show(language="fr")
        self.assertEqual(self.browser.execute_script("return document.documentElement.lang"), "en")
        until("the notice", lambda: "fr" in "".join(self.texts("#notice")))
        self.assertEqual(self.texts("#notice")[0].count("“fr”"), 2)
        self.keep("start-language")

    def test_shows_every_screen_in_another_language(self):
        self.show(language="de")
        self.press(ENTER)
        self.listed(10)
        self.assertEqual(self.texts("h1"), ["Diagnose"])
        self.assertEqual(self.browser.execute_script("return document.documentElement.lang"), "de")
        self.keep("start-list-de")
        self.go("home")
        self.listed(10)
        self.keep("home-list-de")
        self.go("journal")
        until("lines", lambda: self.find(".line"))
        self.keep("journal-de")
        self.go("history")
        until("the history", lambda: self.find(".event") and not self.find("body.is-busy"))
        self.keep("history-de")
        self.go("storage")
        until("the apps", lambda: len(self.find(".card.app")) == 9 and not self.find("body.is-busy"))
        self.keep("storage-de")
        self.assert_quiet()


if __name__ == "__main__":
    unittest.main(verbosity=2)
