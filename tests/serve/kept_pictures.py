"""Pictures of the screens: each is compared with a kept one of the Debian release whose fonts and browser drew it."""

import base64
import io
import os
import platform
import sys
import time
from pathlib import Path

from PIL import Image, ImageChops

FONTS = Path("/usr/share/fonts/truetype/dejavu")
RELEASE = platform.freedesktop_os_release().get("VERSION_CODENAME", "unknown")
KEPT = Path(__file__).parent / "pictures" / RELEASE
SEEN = Path(os.environ["KURA_SCREENS"])
HEIGHT = 360
COLOURS = 128
# A pixel differs when its brightness does by more than this, of 255; letters drawn a fraction of a pixel aside differ less
# often than this share of all pixels, in thousandths.
VISIBLE = 48
TOLERATED = 6
PATIENCE = 10

UPDATE = "--update" in sys.argv
if UPDATE:
    sys.argv.remove("--update")


def are_compared():
    return UPDATE or KEPT.is_dir()


def fonts_file(folder):
    """A configuration with which each machine draws with the same fonts."""
    path = Path(folder) / "fonts.conf"
    path.write_text(f"""<?xml version="1.0"?><!DOCTYPE fontconfig SYSTEM "fonts.dtd">
        <fontconfig><dir>{FONTS}</dir><cachedir>{folder}</cachedir></fontconfig>""", "utf-8")
    return str(path)


def screen(browser, size, scale=1):
    """The screen now, as it is."""
    picture = browser.execute_cdp_cmd("Page.captureScreenshot", {
        "clip": {"x": 0, "y": 0, "width": size[0], "height": size[1], "scale": scale},
        "optimizeForSpeed": True})
    return Image.open(io.BytesIO(base64.b64decode(picture["data"]))).convert("RGB")


def taken(browser, size, changing=""):
    """The screen now, small, without what is different each time. changing: a selector of more such parts."""
    browser.execute_script("""
        const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
        const changing = [...document.querySelectorAll(arguments[0])];
        for (let node = walker.nextNode(); node; node = walker.nextNode()) {
            if (/[0-9]{2}:[0-9]{2}|[/](tmp|dev)[/]/.test(node.data)) {
                changing.push(node.parentElement);
            }
        }
        window.hidden_in_pictures = changing;
        changing.forEach(({ style }) => { style.visibility = "hidden"; });""",
                           ", ".join(filter(None, [".spinner, .track-part, .work-time", changing])))
    picture = screen(browser, size, HEIGHT / size[1])
    browser.execute_script("""
        window.hidden_in_pictures.forEach(({ style }) => { style.removeProperty("visibility"); });""")
    return picture


def difference(one, other):
    """The thousandths of the pixels that look different."""
    if one.size != other.size:
        return 1000
    seen = ImageChops.difference(one.convert("RGB"), other.convert("RGB")).convert("L").histogram()
    return 1000 * sum(seen[VISIBLE:]) / sum(seen)


def at_rest(take):
    """The picture of a screen that no longer changes."""
    picture = take()
    for _ in range(20):
        time.sleep(0.5)
        before, picture = picture, take()
        if difference(before, picture) == 0:
            break
    return picture


def update(kept, picture):
    KEPT.mkdir(parents=True, exist_ok=True)
    if not kept.exists() or difference(picture, Image.open(kept)) > TOLERATED / 4:
        picture.quantize(COLOURS, method=Image.Quantize.MAXCOVERAGE).save(kept, optimize=True)


def complaint(take, name):
    """What is wrong with the screen of that name, of which take takes a picture; empty when nothing is. The screen has some
    time to come to rest. Updates the kept picture when told to."""
    SEEN.mkdir(parents=True, exist_ok=True)
    kept = KEPT / f"{name}.png"
    if UPDATE:
        update(kept, at_rest(take))
        return ""
    if not kept.exists():
        return f"there is no kept picture {kept}; --update writes it"
    end = time.monotonic() + PATIENCE
    share = 1000
    while share > TOLERATED and time.monotonic() < end:
        picture = take()
        share = difference(picture, Image.open(kept))
    picture.save(SEEN / f"{name}.png")
    return "" if share <= TOLERATED else (
        f"{SEEN / name}.png differs from {kept} in {share:.1f} thousandths of its pixels, tolerated are {TOLERATED}; "
        "--update keeps the new one")
