#!/usr/bin/env python3
"""Opens pages of `selvane explain` in a headless browser: they fetch nothing, complain of nothing, the slider moves by
mouse, touch and keyboard, nothing is wider than a phone, and hostile names stay text.

Usage: page.py COMMAND SCENE [FOLDER]    FOLDER keeps the pages and their screenshots
"""
import base64
import json
import pathlib
import subprocess
import sys
import tempfile

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

command, scene = sys.argv[1:3]
kHostile = "<script>document.title='taken'<!-- \"'& $(x) </title>".replace("/", "\u2215") + " \u202eabc.hdr"
kDesktop, kPhone = (1200, 900), (375, 700)


def browser():
    options = Options()
    options.binary_location = "/usr/bin/chromium"
    for word in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars"):
        options.add_argument(word)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    return webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)


def show(driver, page, size, scheme):
    """Opens a page on a screen of this size. Returns the addresses that it asked for."""
    width, height = size
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                           {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": size == kPhone})
    driver.execute_cdp_cmd("Emulation.setTouchEmulationEnabled", {"enabled": size == kPhone})
    driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
    driver.get_log("performance")
    driver.get(page.as_uri())
    messages = [json.loads(entry["message"])["message"] for entry in driver.get_log("performance")]
    return [message["params"]["request"]["url"] for message in messages if message["method"] == "Network.requestWillBeSent"]


def at(driver):
    return float(driver.execute_script("return parseFloat(getComputedStyle(document.querySelector('.frame')).getPropertyValue('--at'))"))


def check_quiet(driver, asked, page):
    assert asked and asked[0] == page.as_uri(), asked
    others = [url for url in asked[1:] if not url.startswith("data:")]
    assert not others, f"the page fetched {others}"
    log = driver.get_log("browser")
    assert not log, f"the console says {log}"


def check_slider(driver):
    """Keys, mouse and touch move the line, and the picture before ends there."""
    frame, slider = driver.find_element(By.CSS_SELECTOR, ".frame"), driver.find_element(By.ID, "slider")
    assert at(driver) == 50.0
    slider.send_keys(Keys.ARROW_RIGHT)
    assert at(driver) == 52.0, at(driver)
    slider.send_keys(Keys.HOME)
    assert at(driver) == 0.0, at(driver)
    slider.send_keys(Keys.END)
    assert at(driver) == 100.0, at(driver)
    width = frame.size["width"]
    ActionChains(driver).move_to_element(frame).click_and_hold().move_by_offset(-width / 4, 0).release().perform()
    assert abs(at(driver) - 25.0) < 1.0, at(driver)
    ActionChains(driver).move_to_element_with_offset(frame, width / 4, 5).perform()
    assert abs(at(driver) - 25.0) < 1.0, "the line follows a mouse whose button is up"
    clip = driver.execute_script("return getComputedStyle(document.getElementById('before')).clipPath")
    assert clip.startswith("inset(0px 75%") or clip.startswith("inset(0px 74."), clip
    assert "25 per cent" in slider.get_attribute("aria-valuetext")


def check_touch(driver):
    box = driver.execute_script("const b = document.querySelector('.frame').getBoundingClientRect(); return [b.left, b.top, b.width, b.height]")
    y = box[1] + box[3] / 2

    def touch(kind, share):
        points = [] if share is None else [{"x": box[0] + share * box[2], "y": y}]
        driver.execute_cdp_cmd("Input.dispatchTouchEvent", {"type": kind, "touchPoints": points})

    touch("touchStart", 0.5)
    touch("touchMove", 0.6)
    touch("touchMove", 0.8)
    touch("touchEnd", None)
    assert abs(at(driver) - 80.0) < 1.0, at(driver)


def check_layout(driver, size):
    wide = driver.execute_script("return document.documentElement.scrollWidth")
    assert wide <= size[0], f"the page is {wide} pixels wide on a screen of {size[0]}"
    for name in ("before", "after", "base", "detail"):
        assert driver.execute_script("const i = document.getElementById(arguments[0]); return i.complete && i.naturalWidth > 0", name), name
    before, after = driver.execute_script(
        "return ['before', 'after'].map((n) => document.getElementById(n).getBoundingClientRect())"
        ".map((r) => [r.left, r.top, r.width, r.height])")
    assert all(abs(a - b) < 0.1 for a, b in zip(before, after)), f"before lies on {before}, after on {after}"
    for chart, parts in (("scene-histogram", ".bar"), ("mapped-histogram", ".point"), ("curve", ".median")):
        assert driver.find_elements(By.CSS_SELECTOR, f"#{chart} {parts}"), f"{chart} is empty"


def check_words(driver, name, report):
    text = driver.execute_script("return document.body.innerText")
    assert driver.find_element(By.ID, "name").text.strip() and driver.title.startswith(name), driver.title
    assert driver.execute_script("return document.getElementById('name').textContent") == name
    assert driver.execute_script("return document.getElementById('command').textContent") == report["command"]
    for reason in report["reasons"]:
        assert reason in text, reason
    rows = len(driver.find_elements(By.CSS_SELECTOR, "#numbers tr"))
    # The page knows its own size only when it stands.
    numbers = sum(len(part) for key, part in report.items() if isinstance(part, dict) and key not in ("settings", "output"))
    assert rows == numbers, f"{rows} rows for {numbers} numbers"
    meanings = driver.execute_script("return [...document.querySelectorAll('#numbers .meaning')].map((m) => m.textContent)")
    assert len(meanings) == rows and all(len(meaning) > 3 for meaning in meanings)


def colors(driver):
    return driver.execute_script("const s = getComputedStyle(document.body); return [s.backgroundColor, s.color]")


def brightness(color):
    return sum(int(part) for part in color[color.index("(") + 1:-1].split(",")[:3])


def shoot(driver, path, size):
    height = driver.execute_script("return document.documentElement.scrollHeight")
    clip = {"x": 0, "y": 0, "width": size[0], "height": height, "scale": 1}
    shot = driver.execute_cdp_cmd("Page.captureScreenshot", {"captureBeyondViewport": True, "clip": clip})
    path.write_bytes(base64.b64decode(shot["data"]))
    assert path.stat().st_size > 20000


def make_page(folder, source, words):
    page, report = folder / (words[0].strip("-") + ".html"), folder / "report.json"
    subprocess.run([command, "explain", str(source), "-o", str(page), "--report", str(report), *words], check=True)
    return page, json.loads(report.read_text())


def check_page(driver, folder, source, words):
    page, report = make_page(folder, source, words)
    for size in (kDesktop, kPhone):
        for scheme in ("light", "dark"):
            check_quiet(driver, show(driver, page, size, scheme), page)
            check_layout(driver, size)
            paper, ink = map(brightness, colors(driver))
            assert (paper > ink) == (scheme == "light"), (scheme, paper, ink)
            check_words(driver, source.name, report)
            shoot(driver, folder / f"{page.stem}-{size[0]}-{scheme}.png", size)
            check_slider(driver) if size == kDesktop else check_touch(driver)
            assert not driver.get_log("browser")


def check_test_sees(driver, folder):
    """What the checks look for is seen where it is there."""
    page = folder / "bad.html"
    page.write_text("<title>x</title><img src='file:///none.png'><script>console.error('bad')</script>")
    asked = show(driver, page, kDesktop, "light")
    assert any(url.endswith("none.png") for url in asked), asked
    assert any("bad" in entry["message"] for entry in driver.get_log("browser"))


def main(folder):
    source = folder / "scene.hdr"
    subprocess.run([scene, "make", "--scene", str(source), "--width", "600"], check=True)
    hostile = folder / kHostile
    hostile.write_bytes(source.read_bytes())
    photograph = folder / "photo.jpg"
    subprocess.run([scene, "make", "--photograph", str(photograph), "--width", "300"], check=True)
    driver = browser()
    try:
        check_test_sees(driver, folder)
        check_page(driver, folder, source, ["--exposure", "0.5"])
        check_page(driver, folder, hostile, ["--manual"])
        check_page(driver, folder, photograph, ["--preset", "soft", "--size", "64"])
    finally:
        driver.quit()
    print("the pages are quiet, whole and move")


if len(sys.argv) > 3:
    main(pathlib.Path(sys.argv[3]).resolve())
else:
    with tempfile.TemporaryDirectory() as temporary:
        main(pathlib.Path(temporary))
