#!/usr/bin/python3
"""The traces of runs: held against the format, and read back by the trace engine of the browser's developer tools.

    trace_test.py FOLDER [unittest's arguments]"""
import collections
import json
import sys
import unittest
from pathlib import Path

from browser import Browser

FOLDER = Path(sys.argv.pop(1))
NAMES = ("connect", "audio-moves", "two-headsets", "fails", "hostile-names")

# What the engine makes of the events: flows, threads with their names, and what it takes for malformed.
READ = """
const [events, done] = arguments;
(async () => {
  const {TraceModel, Handlers} = await import('devtools://devtools/bundled/models/trace/trace.js');
  const {Flows, Meta, Renderer} = Handlers.ModelHandlers;
  const model = TraceModel.Model.createWithAllHandlers();
  await model.parse(events, {isFreshRecording: false});
  const {data, traceEvents} = model.parsedTrace(0);
  const threads = {};
  for (const [pid, names] of data.Meta.threadsInProcess)
    for (const [tid, event] of names) threads[`${pid} ${tid}`] = event.args.name;
  return {
    events: traceEvents.length, threads,
    flows: data.Flows.flows.map(flow => flow.map(event => event.name)),
  };
})().then(done, error => done({error: String(error.stack ?? error)}));
"""


def trace(name):
    return json.loads((FOLDER / f"{name}.json").read_text())


def entries(name):
    lines = [json.loads(line) for line in (FOLDER / f"{name}.jsonl").read_text().splitlines()]
    return [line for line in lines if line["type"] == "entry"], [line for line in lines if line["type"] == "arrow"]


class FormatTest(unittest.TestCase):
    def test_events_have_what_their_phase_needs(self):
        needs = {"X": {"ts", "dur"}, "M": {"args"}, "s": {"ts", "id", "cat"}, "f": {"ts", "id", "cat", "bp"},
                 "b": {"ts", "id", "cat"}, "e": {"ts", "id", "cat"}, "C": {"ts", "args"}}
        for name in NAMES:
            for event in trace(name)["traceEvents"]:
                self.assertLessEqual(needs[event["ph"]] | {"name", "pid", "tid"}, event.keys(), event)
                self.assertGreaterEqual(event.get("dur", 0), 0)
                self.assertIsInstance(event["name"], str)

    def test_durations_of_a_thread_nest(self):
        for name in NAMES:
            threads = collections.defaultdict(list)
            for event in trace(name)["traceEvents"]:
                if event["ph"] == "X":
                    threads[event["tid"]].append((event["ts"], -event["dur"], event["name"]))
            for events in threads.values():
                open_until = []
                for begin, length, text in sorted(events):
                    while open_until and open_until[-1] <= begin:
                        open_until.pop()
                    end = round(begin - length, 3)
                    self.assertTrue(not open_until or end <= open_until[-1], f"{name}: {text} at {begin}")
                    open_until.append(end)

    def test_flows_begin_and_end_within_a_duration_of_their_thread(self):
        for name in NAMES:
            events = trace(name)["traceEvents"]
            spans = collections.defaultdict(list)
            for event in events:
                if event["ph"] == "X":
                    spans[event["tid"]].append((event["ts"], event["ts"] + event["dur"]))
            flows = [event for event in events if event["ph"] in "sf"]
            self.assertGreater(len(flows), 10)
            for event in flows:
                self.assertTrue(any(begin <= event["ts"] <= end for begin, end in spans[event["tid"]]), event)
            for _, ends in collections.Counter((event["id"]) for event in flows).items():
                self.assertEqual(ends, 2)

    def test_every_entry_is_there(self):
        for name in NAMES:
            marks = [event for event in trace(name)["traceEvents"] if event["ph"] == "X" and event["cat"] == "entry"]
            self.assertEqual([event["name"] for event in marks], [line["named"] for line in entries(name)[0]])


class ReaderTest(unittest.TestCase):
    def test_the_developer_tools_read_threads_and_arrows(self):
        browser = Browser()
        self.addCleanup(browser.quit)
        browser.driver.get("devtools://devtools/bundled/devtools_app.html")
        for name in NAMES:
            with self.subTest(name):
                events = trace(name)["traceEvents"]
                read = browser.driver.execute_async_script(READ, events)
                self.assertNotIn("error", read)
                told, arrows = entries(name)
                names = set(read["threads"].values())
                self.assertLessEqual({"host", "service", "ipc connecter", "ipc feature"}, names)
                self.assertGreaterEqual(read["events"], len(told))
                print(name, len(arrows), "arrows;", len(read["flows"]), "flows read")
                self.assertEqual(len(read["flows"]), len(arrows))


if __name__ == "__main__":
    unittest.main()
