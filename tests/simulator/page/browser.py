"""A browser without a window, and pages for it."""
import json
import re
import tempfile
from pathlib import Path

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service

FLAGS = ("--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking "
         "--disable-component-update --disable-sync --hide-scrollbars").split()


class Browser:
    """One Chromium with an empty profile; quit ends it."""

    def __init__(self):
        self.profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        options = Options()
        for flag in FLAGS + [f"--user-data-dir={self.profile.name}"]:
            options.add_argument(flag)
        options.binary_location = "/usr/bin/chromium"
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.driver.set_script_timeout(60)
        self.run = self.driver.execute_script

    def quit(self):
        self.driver.quit()
        self.profile.cleanup()

    def show(self, page, width=1440, height=1000, scheme="light"):
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": width < 600})
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": "prefers-color-scheme", "value": scheme}]})
        self.driver.get(Path(page).resolve().as_uri())
        self.drawn()

    def drawn(self):
        """Waits until the page is drawn anew; how many milliseconds that took."""
        return self.driver.execute_async_script("const done = arguments[0]; run.drawn().then(done)")

    def complaints(self):
        return [entry["message"] for entry in self.driver.get_log("browser")]


PLACE = re.compile(r'(<script type="application/json" id="data">)(.*?)(</script>)', re.DOTALL)


def data_of(page):
    return json.loads(PLACE.search(page).group(2))


def with_data(page, data):
    text = json.dumps(data).replace("<", "\\u003c")
    return PLACE.sub(lambda found: found.group(1) + text + found.group(3), page)


def repeated(data, least):
    """The same run over and over, until it has at least that many entries."""
    count, end = len(data["entries"]), data["end"] + 1000
    times = -(-least // count)
    many = dict(data, end=end * times, tracks=[dict(track, spans=[]) for track in data["tracks"]],
                **{name: [] for name in ("entries", "arrows", "bars", "cards")})
    for turn in range(times):
        later, first = turn * end, turn * count
        for time, lane, teller, kind, cause, *rest in data["entries"]:
            many["entries"].append([time + later, lane, teller, kind, cause + first if cause >= 0 else -1, *rest])
        for start, to, kind, leaves, arrives in data["arrows"]:
            many["arrows"].append([start + first, to + first, kind, leaves + later, arrives + later])
        many["bars"] += [[begin + later, stop + later, lane, text] for begin, stop, lane, text in data["bars"]]
        many["cards"] += [dict(card, begin=card["begin"] + later, end=card["end"] + later, entry=card["entry"] + first)
                          for card in data["cards"]]
        for track, whole in zip(many["tracks"], data["tracks"]):
            track["spans"] += [[begin + later, stop + later, value] for begin, stop, value in whole["spans"]]
    return many
