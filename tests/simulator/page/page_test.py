#!/usr/bin/python3
"""The pages of runs, in a browser: what they show, what they do, and that they can be read.

    page_test.py FOLDER [unittest's arguments]

FOLDER holds the pages that make_pages.sh has made."""
import json
import sys
import unittest
from pathlib import Path

from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

from browser import Browser, data_of, repeated, with_data

FOLDER = Path(sys.argv.pop(1))
NAMES = ("connect", "audio-moves", "two-headsets", "fails", "hostile-names")


def lines(name):
    return [json.loads(line) for line in (FOLDER / f"{name}.jsonl").read_text().splitlines()]


def luminance(colour):
    def linear(part):
        part /= 255
        return part / 12.92 if part <= 0.04045 else ((part + 0.055) / 1.055) ** 2.4
    return sum(weight * linear(part) for weight, part in zip((0.2126, 0.7152, 0.0722), colour))


def contrast(one, other):
    bright, dim = sorted((luminance(one), luminance(other)), reverse=True)
    return (bright + 0.05) / (dim + 0.05)


def parts(text):
    """#abc123 or rgb(...) as three numbers."""
    if text.startswith("#"):
        return [int(text[i:i + 2], 16) for i in (1, 3, 5)]
    return [float(part) for part in text[text.index("(") + 1:text.index(")")].split(",")[:3]]


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = Browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()

    def show(self, name, **more):
        self.browser.show(FOLDER / f"{name}.html", **more)

    def js(self, script, *arguments):
        return self.browser.run(script, *arguments)

    def find(self, css):
        return self.browser.driver.find_element(By.CSS_SELECTOR, css)

    def texts(self, css):
        return [element.text for element in self.browser.driver.find_elements(By.CSS_SELECTOR, css)]

    def count(self):
        return self.js("return document.getElementById('count').value")

    def index_of(self, text, start=0):
        found = self.js("return run.entries.findIndex((e, i) => i >= arguments[1] && e.text.includes(arguments[0]))",
                        text, start)
        self.assertGreaterEqual(found, 0, text)
        return found

    # --- what is there ---

    def test_every_page_opens_without_a_complaint_and_has_every_entry(self):
        for name in NAMES:
            with self.subTest(name):
                self.show(name)
                self.assertEqual(self.browser.complaints(), [])
                printed = [line for line in (FOLDER / f"{name}.txt").read_text().splitlines()
                           if line[:8].strip().replace(".", "").isdigit()]
                told = [line for line in lines(name) if line["type"] == "entry"]
                self.assertEqual(len(told), len(printed))
                self.assertEqual(self.count(), f"{len(told)} of {len(told)} entries")
                self.assertEqual(self.find("#list").get_attribute("aria-rowcount"), str(len(told)))
                self.assertGreater(self.js("return run.state.drawn"), 20)

    def test_needs_nothing_but_its_file(self):
        self.show("connect")
        self.assertEqual(self.js("return performance.getEntriesByType('resource').map(e => e.name)"), [])
        self.assertLess((FOLDER / "connect.html").stat().st_size, 2_000_000)

    def test_tells_of_defaults_endpoints_the_host_volume_and_tips(self):
        self.show("audio-moves")
        rows = [(row["kind"], row["name"]) for row in self.js("return run.rows()")]
        for row in (("head", "Default endpoints"), ("span", "render console"), ("span", "Buds stereo"),
                    ("head", "The host knows: connection"), ("volume", "Speakers"), ("tips", "shown to the user"),
                    ("checks", "expectations"), ("lane", "host"), ("lane", "service"), ("lane", "ipc connecter"),
                    ("lane", "ipc feature"), ("lane", "notify"), ("lane", "worker"), ("lane", "loop"), ("lane", "tips")):
            self.assertIn(row, rows)
        tracks = self.js("return run.data.tracks")
        console = next(t for t in tracks if t["name"] == "render console")
        self.assertEqual([value for _, _, value in console["spans"]], ["Speakers", "Buds stereo", "Speakers", "Buds stereo"])
        volume = next(t for t in tracks if t["group"] == "volume" and t["name"] == "Speakers")
        self.assertEqual([value for _, _, value in volume["spans"]], ["1", "0.8", "0.32", "0.8", "0.32", "0.3"])
        cards = self.js("return run.data.cards")
        self.assertEqual([card["content"] for card in cards], [
            "The audio of Buds has moved to Phone.",
            "The audio of Buds has moved to Phone. The volume of this computer has been turned down."])

    def test_waits_say_what_they_are_for(self):
        self.show("audio-moves")
        bars = self.js("return run.data.bars.map(([b, e, lane, text]) => [run.data.lanes[lane], text, (e - b) / 1000])")
        for lane, text, least in (("ipc feature", "800 ms for the endpoints to come", 800),
                                  ("worker", "500 ms to settle before the switch", 500),
                                  ("worker", "up to 10 s for the confirmation", 0),
                                  ("loop", "1 s of dip: then the volume comes back", 900),
                                  ("loop", "100 ms with the key down", 100)):
            lengths = [length for bar_lane, bar_text, length in bars if (bar_lane, bar_text) == (lane, text)]
            self.assertTrue(lengths, text)
            self.assertGreaterEqual(min(lengths), least - 1, text)

    # --- arrows ---

    def test_arrows_of_the_main_job_are_the_right_ones(self):
        self.show("connect")
        arrows = self.js("return run.arrows.map(({from, to, kind}) => [kind, run.data.lanes[run.entries[from].lane], "
                         "run.entries[from].text, run.data.lanes[run.entries[to].lane], run.entries[to].text])")

        def there_is(kind, from_lane, from_text, to_lane, to_text):
            self.assertTrue([arrow for arrow in arrows if arrow[0] == kind and arrow[1] == from_lane and
                             from_text in arrow[2] and arrow[3] == to_lane and to_text in arrow[4]],
                            f"no arrow {kind} from {from_text} to {to_text}")

        there_is("post", "host", "PostMsg connecter 12144176 register", "service", "post connecter 12144176 register")
        there_is("message", "host", 'headset "Buds" connects', "service", "message feature 12144177 connect-state")
        there_is("delivery", "service", "message connecter 12144176 connect-state 10617840 service 10616832 {6,",
                 "ipc connecter", "deliver connecter 12144176 connect-state")
        there_is("report", "ipc connecter", "deliver connecter", "ipc connecter",
                 "OnDevConnStateChanged Buds 11111822610015 connected 0")
        there_is("cooperation", "ipc feature", "evType=6", "worker", "SetDefaultPoint Begin")
        there_is("notification", "worker", "SetDefaultEndpoint Buds stereo console 0", "notify",
                 "OnDefaultDeviceChanged render console 0 Buds stereo")
        there_is("report", "notify", "OnDefaultDeviceChanged", "notify", "OnFeatureStateChanged Buds 11111822610015 9 on 3")
        there_is("confirmation", "notify", "ui SetEvent", "worker", "Current Download end")
        there_is("cooperation", "host", 'host disables "Buds"', "worker", "SetDefaultPoint Begin")
        there_is("notification", "worker", "SetEndpointVisibility Buds stereo hidden 0", "notify",
                 "OnDeviceStateChanged Buds stereo disabled 2")
        self.assertFalse([arrow for arrow in arrows if arrow[0] == "delivery" and
                          ("connecter" in arrow[2]) != ("connecter" in arrow[4])])

    def test_a_click_and_its_reconnection_are_joined(self):
        self.show("audio-moves")
        self.js("run.select(arguments[0])", self.index_of("user clicks second button"))
        self.assertIn('reply 9 "secondBtn"', self.texts("[data-links='Brings about'] button")[0])
        reply = self.index_of('reply 9 "secondBtn"')
        self.js("run.select(arguments[0])", reply)
        self.assertTrue([text for text in self.texts("[data-links='Brings about'] button") if "try reconnect Start" in text])

    def test_arrows_lead_from_the_mark_of_one_lane_to_that_of_another(self):
        self.show("connect")
        arrow = self.js("const a = run.arrows.find(a => a.kind === 'cooperation'); "
                        "run.zoomTo(a.leaves - 2e5, a.arrives + 7e5); return a")
        self.browser.drawn()
        start, end = (self.js("return run.place(arguments[0])", arrow[side]) for side in ("from", "to"))
        rows = {row["name"]: row for row in self.js("return run.rows()")}
        top = self.js("return document.getElementById('canvas').getBoundingClientRect().top")
        for place, lane in ((start, "ipc feature"), (end, "worker")):
            self.assertAlmostEqual(place["y"] - top, rows[lane]["top"] + rows[lane]["height"] / 2, delta=1)
        # Between the two lanes the canvas shows it.
        between = self.js("""
            const [from, to, colour] = arguments, canvas = document.getElementById('canvas');
            const rgb = colour.match(/../g).map(part => parseInt(part, 16));
            const area = canvas.getContext('2d').getImageData(0, (from + to) / 2, canvas.width, 1).data;
            let found = 0;
            for (let i = 0; i < area.length; i += 4)
              if (rgb.every((part, at) => Math.abs(area[i + at] - part) < 70)) ++found;
            return found;""", rows["ipc feature"]["top"] + rows["ipc feature"]["height"],
            rows["worker"]["top"], self.js("return getComputedStyle(document.documentElement).getPropertyValue('--arrow')")
            .strip().lstrip("#"))
        self.assertGreater(between, 0)

    # --- what one can do ---

    def test_search_leaves_what_matches(self):
        self.show("connect")
        wanted = [line for line in lines("connect") if line["type"] == "entry" and "setdefaultendpoint" in line["named"].lower()]
        self.find("#search").send_keys("setDEFAULTendpoint")
        self.assertEqual(self.count().split()[0], str(len(wanted)))
        self.assertTrue(all("SetDefaultEndpoint" in text for text in self.texts("#rows .what")))
        self.find("#search").send_keys(Keys.ENTER)
        self.assertIn("SetDefaultEndpoint", self.find("#details .text").text)
        self.find("#search").send_keys(Keys.ESCAPE)
        self.assertEqual(self.count().split()[0], self.count().split()[2])

    def test_filters_leave_lanes_and_tellers(self):
        self.show("connect")
        entries = [line for line in lines("connect") if line["type"] == "entry"]
        self.find("#teller-filter").find_element(By.XPATH, "..").click()
        self.find("#teller-filter input[value='log3']").click()
        left = [line for line in entries if line["teller"] != "log3"]
        self.assertEqual(self.count().split()[0], str(len(left)))
        self.find("#lane-filter").find_element(By.XPATH, "..").click()
        self.find("#lane-filter .all button:last-child").click()
        self.assertEqual(self.count().split()[0], "0")
        self.js("document.querySelectorAll('#lane-filter label')"
                "[run.data.lanes.indexOf('worker')].querySelector('input').click()")
        self.assertEqual(self.count().split()[0], str(len([line for line in left if line["thread"] == "worker"])))
        self.assertEqual([row["name"] for row in self.js("return run.rows()") if row["kind"] == "lane"], ["worker"])

    def test_a_click_on_a_mark_a_wait_a_tip_or_a_row_shows_its_details(self):
        self.show("audio-moves")

        def click(x, y):
            for kind in ("mousePressed", "mouseReleased"):
                self.browser.driver.execute_cdp_cmd("Input.dispatchMouseEvent", {
                    "type": kind, "x": x, "y": y, "button": "left", "clickCount": 1})

        index = self.index_of("keybd_event volume-down 174 0 1 0")
        self.js("const t = run.entries[arguments[0]].time; run.zoomTo(t - 3000, t + 3000)", index)
        self.browser.drawn()
        place = self.js("return run.place(arguments[0])", index)
        click(place["x"], place["y"])
        self.assertEqual(self.find("#details .text").text, "keybd_event volume-down 174 0 1 0")
        self.assertIn("loop", self.find("#details dl").text)
        self.js("run.zoomTo(0, run.data.end)")
        self.browser.drawn()
        bar = self.js("""const [begin, end, lane] = run.data.bars.find(bar => bar[3].startsWith('800 ms'));
            const row = run.rows().find(row => row.name === run.data.lanes[lane]);
            const area = document.getElementById('canvas').getBoundingClientRect();
            run.zoomTo(begin - 1e5, end + 1e5);
            return {x: area.left + area.width / 2, y: area.top + row.top + row.height / 2}""")
        self.browser.drawn()
        click(**bar)
        self.assertEqual(self.find("#details .text").text, "800 ms for the endpoints to come")
        self.js("const card = run.data.cards[0]; run.zoomTo(card.begin, card.end)")
        self.browser.drawn()
        tips = self.js("""const row = run.rows().find(row => row.kind === 'tips');
            const area = document.getElementById('canvas').getBoundingClientRect();
            return {x: area.left + area.width / 2, y: area.top + row.top + row.height / 2}""")
        click(**tips)
        self.assertIn("The audio of Buds has moved to Phone.", self.find("#details .tip").text)
        self.js("document.getElementById('list').scrollIntoView(); document.getElementById('list').scrollTop = 0")
        self.browser.drawn()
        self.browser.drawn()
        row = self.find("#rows [data-entry='3']")
        text = row.find_element(By.CLASS_NAME, "what").text
        row.click()
        self.assertEqual(self.find("#details .text").text, text)

    def test_zoom_and_keys(self):
        self.show("connect")
        chart = self.find("#chart")
        chart.send_keys("+")
        self.assertGreater(self.js("return run.state.transform.k"), 1.5)
        chart.send_keys("0")
        self.assertEqual(self.js("return run.state.transform.k"), 1)
        chart.send_keys(Keys.ARROW_DOWN, Keys.ARROW_DOWN)
        self.assertEqual(self.js("return run.state.selected"), 1)
        chart.send_keys(Keys.ARROW_UP)
        self.assertEqual(self.js("return run.state.selected"), 0)
        report = self.index_of("OnDevConnStateChanged Buds")
        self.js("run.select(arguments[0])", report)
        chart.send_keys("c")
        self.assertIn("deliver connecter", self.find("#details .text").text)
        chart.send_keys("/")
        self.assertEqual(self.js("return document.activeElement.id"), "search")

    def test_a_failed_run_says_so_and_leads_there(self):
        self.show("fails")
        self.assertTrue(self.find("#verdict").text.startswith("FAILED: 1 expectations held"))
        failure = self.find("#failure button")
        self.assertIn('expect default console render is "Buds hands-free"', failure.text)
        self.assertIn('the default is "', failure.text)
        failure.click()
        self.assertTrue(self.find("#details .text").text.startswith("FAILED "))
        self.assertEqual(self.js("return run.entries.filter(e => e.mark === 'failed').length"), 1)

    def test_two_headsets_have_rows_of_their_own(self):
        self.show("two-headsets")
        rows = [row["name"] for row in self.js("return run.rows()") if row["kind"] == "span"]
        names = {line["values"]["name"] for line in lines("two-headsets") if line.get("kind") == "headset"}
        self.assertEqual(len(names), 2)
        for name in names:
            self.assertEqual(rows.count(name), 2) # connection, feature
            self.assertIn(f"{name} stereo", rows)

    # --- texts that mean harm ---

    def test_hostile_texts_are_texts(self):
        self.show("hostile-names")
        self.assertIsNone(self.js("return window.broken ?? null"))
        self.assertEqual(self.js("return document.querySelectorAll('script, img, b').length"), 4) # 3 scripts, the verdict
        self.js("run.select(arguments[0])", self.index_of("sduB"))
        self.assertIn("<b>&amp;'`${1}\u2039U+202E\u203asduB", self.find("#details .text").text)
        self.assertIn("</script><script>window.broken=1</script>", self.texts("#labels div"))

    def test_half_characters_and_controls_are_shown_as_their_numbers(self):
        page = (FOLDER / "connect.html").read_text()
        data = data_of(page)
        data["entries"][0][5] = "a\ud800b\u202ec\u0007d\U0001f3a7e\u2028"
        data["title"] = "\udc00<i>"
        (FOLDER / "half.html").write_text(with_data(page, data))
        self.show("half")
        self.assertEqual(self.browser.complaints(), [])
        self.js("run.select(0)")
        self.assertEqual(self.find("#details .text").text,
                         "a\u2039U+D800\u203ab\u2039U+202E\u203ac\u2039U+0007\u203ad\U0001f3a7e\u2039U+2028\u203a")
        self.assertEqual(self.find("h1").text, "\u2039U+DC00\u203a<i>")

    # --- that it can be read ---

    def test_texts_and_marks_stand_out_in_both_schemes(self):
        for scheme in ("light", "dark"):
            self.show("fails", scheme=scheme)
            self.js("run.select(3)")
            value = {name: parts(self.js("return getComputedStyle(document.documentElement)"
                                         ".getPropertyValue(arguments[0]).trim()", "--" + name))
                     for name in ("back", "panel", "stripe", "text", "quiet", "accent", "good", "bad", "wait", "wait-text",
                                  "arrow", "off", *(f"s{i}" for i in range(7)),
                                  *("c-" + t for t in ("scenario", "host", "ipc", "service", "audio", "notify", "tips",
                                                       "card", "keys", "strings", "log3", "log4", "fault", "other")))}
            self.assertEqual(luminance(value["back"]) > 0.5, scheme == "light")
            texts = [("text", back) for back in ("back", "panel", "stripe", "off", *(f"s{i}" for i in range(7)))]
            texts += [("quiet", "back"), ("quiet", "panel"), ("good", "back"), ("bad", "back"), ("wait-text", "wait"),
                      ("back", "accent"), ("text", "wait")]
            marks = [(name, back) for name in value if name.startswith("c-") or name in ("arrow", "accent", "good", "bad")
                     for back in ("back", "stripe", "wait")]
            for least, pairs in ((4.5, texts), (3, marks)):
                for front, back in pairs:
                    with self.subTest(f"{scheme}: {front} on {back}"):
                        self.assertGreaterEqual(contrast(value[front], value[back]), least)
            self.assertEqual(parts(self.js("return getComputedStyle(document.body).backgroundColor")), value["back"])

    def test_nothing_sticks_out_at_any_width(self):
        for name in ("audio-moves", "hostile-names"):
            for width in (390, 768, 1440):
                with self.subTest(f"{name} at {width}"):
                    self.show(name, width=width, height=844)
                    self.js("run.select(5)")
                    self.assertEqual(self.js("return document.documentElement.scrollWidth"), width)
                    self.assertGreater(self.js("return document.getElementById('canvas').clientWidth"), width / 2.5)
                    self.browser.driver.save_screenshot(str(FOLDER / f"{name}-{width}.png"))

    # --- great runs ---

    def test_five_thousand_entries_are_fluid_and_fifty_thousand_usable(self):
        page = (FOLDER / "audio-moves.html").read_text()
        for least, draw_limit, filter_limit in ((5_000, 60, 300), (50_000, 400, 2000)):
            with self.subTest(least):
                (FOLDER / f"{least}.html").write_text(with_data(page, repeated(data_of(page), least)))
                self.show(least)
                self.assertEqual(self.browser.complaints(), [])
                self.assertGreaterEqual(self.js("return run.entries.length"), least)
                draws = []
                for _ in range(7):
                    self.js("document.getElementById('zoom-in').click()")
                    draws.append(self.browser.drawn())
                filtering = self.js("""const search = document.getElementById('search'), begin = performance.now();
                    search.value = 'setdefault';
                    search.dispatchEvent(new Event('input'));
                    return performance.now() - begin""")
                self.assertNotEqual(self.count().split()[0], "0")
                whole = self.js("document.getElementById('search').value = ''; "
                                "document.getElementById('search').dispatchEvent(new Event('input')); "
                                "document.getElementById('zoom-all').click()") or self.browser.drawn()
                print(f"{least}: draws {sorted(draws)[3]:.1f} ms while moving, {whole:.1f} ms whole, filters in {filtering:.1f} ms")
                self.assertLess(sorted(draws)[3], draw_limit)
                self.assertLess(filtering, filter_limit)


if __name__ == "__main__":
    unittest.main()
