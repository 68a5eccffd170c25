// Shows a run: its data are in the element #data, as simulator/run/PageData.cpp writes them. Lanes and tracks are drawn on a
// canvas, since a run may have fifty thousand entries; d3 gives the scale, the axis and the zoom.
"use strict";

(() => {
const data = JSON.parse(document.getElementById("data").textContent);
const $ = id => document.getElementById(id);

// --- texts ---

// Characters that cannot be seen, or that would turn the direction of what stands beside them, as their numbers; so too
// halves of a surrogate pair.
const unseen = /[\u0000-\u0008\u000b-\u001f\u007f-\u009f\u00ad\u061c\u200b-\u200f\u2028-\u202e\u2060-\u206f\ufeff\ufff9-\ufffb]|[\ud800-\udbff](?![\udc00-\udfff])|(?<![\ud800-\udbff])[\udc00-\udfff]/g;
const shown = text => text.replace(unseen, c => `\u2039U+${c.charCodeAt(0).toString(16).toUpperCase().padStart(4, "0")}\u203a`);
const seconds = (time, digits = 3) => (time / 1e6).toFixed(digits);
const span = time => time < 1000 ? `${time} \u00b5s` : time < 1e6 ? `${+(time / 1000).toFixed(1)} ms` : `${+(time / 1e6).toFixed(3)} s`;

function make(tag, properties = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) {
    if (name.startsWith("on")) element.addEventListener(name.slice(2), value);
    else if (name === "class") element.className = value;
    else if (name in element && name !== "role") element[name] = value;
    else element.setAttribute(name, value);
  }
  element.append(...children);
  return element;
}

// --- the run ---

const entries = data.entries.map(([time, lane, teller, kind, cause, text, values], index) => ({
  index, time, lane, teller: data.tellers[teller], kind: data.kinds[kind], cause, text, values: values ?? {},
  low: text.toLowerCase(),
}));
for (const entry of entries)
  entry.mark = entry.kind === "expectation held" ? "held" : entry.kind === "failure" ? "failed" : "";
const group = (map, key, value) => map.has(key) ? map.get(key).push(value) : map.set(key, [value]);
const effects = new Map(); // indices by their cause's
for (const entry of entries) if (entry.cause >= 0) group(effects, entry.cause, entry.index);
const arrows = data.arrows.map(([from, to, kind, leaves, arrives]) => ({from, to, kind: data.kinds[kind], leaves, arrives}));
const bars = data.bars.map(([begin, end, lane, text]) => ({begin, end, lane, text}));
const end = Math.max(data.end, 1000);

// --- what is shown ---

const state = {
  query: "", lanes: new Set(data.lanes.keys()), tellers: new Set(data.tellers), selected: -1, hover: -1,
  transform: d3.zoomIdentity, matching: [], byLane: [], drawn: 0, arrowsDrawn: 0, lastDraw: 0,
};
const listeners = [];

function filter() {
  const query = state.query.toLowerCase();
  state.matching = [];
  state.byLane = data.lanes.map(() => []);
  for (const entry of entries) {
    entry.shows = state.lanes.has(entry.lane) && state.tellers.has(entry.teller) && (!query || entry.low.includes(query));
    if (!entry.shows) continue;
    entry.place = state.matching.length;
    state.matching.push(entry);
    state.byLane[entry.lane].push(entry);
  }
  $("count").value = `${state.matching.length} of ${entries.length} entries`;
  layOut();
  list.refresh();
  redraw();
}

// --- rows of the chart ---

const heights = {head: 22, span: 20, volume: 46, tips: 40, checks: 20, lane: 34};
const groups = [["default", "Default endpoints"], ["endpoint", "Endpoints"], ["connection", "The host knows: connection"],
  ["feature", "The host knows: audio feature"]];
let rows = [];
let height = 0;

const isChanging = track => track.spans.length > 1;
const headName = name => name.replace("communications", "calls");

function layOut() {
  rows = [];
  const add = (kind, name, more = {}) => rows.push({kind, name, height: heights[kind], ...more});
  for (const [group, title] of groups) {
    const tracks = data.tracks.filter(track => track.group === group && track.spans.length);
    if (!tracks.length) continue;
    add("head", title);
    for (const track of tracks) add("span", headName(track.name), {track});
  }
  const volumes = data.tracks.filter(track => track.group === "volume" && isChanging(track));
  if (volumes.length) add("head", "Volume");
  for (const track of volumes) add("volume", track.name, {track});
  if (data.cards.length) add("head", "Tips"), add("tips", "shown to the user");
  add("head", "Threads");
  add("checks", "expectations");
  data.lanes.forEach((name, lane) => state.lanes.has(lane) && add("lane", name, {lane}));
  height = 0;
  for (const row of rows) row.top = height, height += row.height;
  state.rowOfLane = new Map(rows.filter(row => row.kind === "lane").map(row => [row.lane, row]));
  $("labels").replaceChildren(...rows.map(row => make("div", {class: row.kind, title: shown(row.name),
    style: `top:${row.top}px;height:${row.height}px`}, make("span", {dir: "auto"}, shown(row.name)))));
  size();
}

// --- drawing ---

const canvas = $("canvas");
const pen = canvas.getContext("2d");
const base = d3.scaleLinear().domain([-end * 0.01, end * 1.02]);
let scale = base.copy();
let width = 0;
let colours = {};

function readColours() {
  const style = getComputedStyle(document.documentElement);
  const get = name => style.getPropertyValue(`--${name}`).trim();
  colours = {tellers: {}, spans: d3.range(7).map(i => get(`s${i}`))};
  for (const name of ["back", "panel", "stripe", "line", "text", "quiet", "accent", "good", "bad", "wait", "wait-text", "arrow", "off"])
    colours[name] = get(name);
  for (const teller of data.tellers) colours.tellers[teller] = get(`c-${teller}`) || get("c-other");
}

function size() {
  const ratio = window.devicePixelRatio || 1;
  width = Math.max(50, $("plot").clientWidth - parseInt(getComputedStyle(document.documentElement).getPropertyValue("--gutter")));
  canvas.width = Math.round(width * ratio);
  canvas.height = Math.round(height * ratio);
  canvas.style.width = `${width}px`;
  canvas.style.height = `${height}px`;
  pen.setTransform(ratio, 0, 0, ratio, 0, 0);
  base.range([0, width]);
  scale = state.transform.rescaleX(base);
}

const spanColours = new Map();
function colourOf(value) {
  if (/^(disabled|not present|unplugged|disconnected|off)$/.test(value)) return colours.off;
  if (/^(active|connected|on)$/.test(value)) return colours.spans[1];
  if (!spanColours.has(value)) spanColours.set(value, [0, 2, 3, 4, 5, 6][spanColours.size % 6]);
  return colours.spans[spanColours.get(value)];
}

function textIn(text, left, right, y, colour, bold = "") {
  const begin = Math.max(left, 0) + 5, room = Math.min(right, width) - 5 - begin;
  if (room < 16) return;
  pen.font = `${bold} 11px system-ui, sans-serif`;
  pen.fillStyle = colour;
  let fitting = shown(text);
  if (pen.measureText(fitting).width > room) {
    let length = Math.floor(fitting.length * room / pen.measureText(fitting).width);
    while (length > 0 && pen.measureText(fitting.slice(0, length) + "\u2026").width > room) --length;
    if (length < 3) return;
    fitting = fitting.slice(0, length) + "\u2026";
  }
  pen.fillText(fitting, begin, y);
}

function drawSpans(row) {
  for (const [begin, finish, value] of row.track.spans) {
    const left = scale(begin), right = scale(finish);
    if (right < 0 || left > width) continue;
    pen.fillStyle = colourOf(value);
    pen.fillRect(left, row.top + 2, Math.max(1, right - left), row.height - 4);
    textIn(value, left, right, row.top + row.height / 2, colours.text);
  }
}

const level = (row, value) => row.top + row.height - 6 - Math.min(1, Math.max(0, +value)) * (row.height - 12);

function drawVolume(row) {
  pen.strokeStyle = colours.line;
  pen.beginPath();
  for (const value of [0, 1]) pen.moveTo(0, level(row, value)), pen.lineTo(width, level(row, value));
  pen.stroke();
  pen.strokeStyle = colours.accent;
  pen.lineWidth = 2;
  pen.beginPath();
  row.track.spans.forEach(([begin, finish, value], i) => {
    const y = level(row, value);
    i ? pen.lineTo(scale(begin), y) : pen.moveTo(scale(begin), y);
    pen.lineTo(scale(finish), y);
  });
  pen.stroke();
  pen.lineWidth = 1;
  row.track.spans.forEach(([begin, finish, value]) =>
    textIn(value, scale(begin), scale(finish), +value > 0.5 ? level(row, value) + 9 : level(row, value) - 8, colours.text));
}

function drawTips(row) {
  for (const card of data.cards) {
    const left = scale(card.begin), right = Math.max(scale(card.end), left + 3);
    if (right < 0 || left > width) continue;
    pen.fillStyle = colours.spans[4];
    pen.strokeStyle = colours.tellers.card ?? colours.text;
    pen.beginPath();
    pen.roundRect(left, row.top + 3, right - left, row.height - 6, 5);
    pen.fill();
    pen.stroke();
    textIn(card.title, left, right, row.top + 13, colours.text, "bold");
    textIn(card.content, left, right, row.top + 27, colours.text);
  }
}

function drawChecks(row) {
  for (const entry of entries) {
    if (!entry.mark) continue;
    const x = scale(entry.time), y = row.top + row.height / 2;
    if (x < -8 || x > width + 8) continue;
    pen.strokeStyle = pen.fillStyle = entry.mark === "held" ? colours.good : colours.bad;
    pen.lineWidth = 2;
    pen.beginPath();
    if (entry.mark === "held") pen.moveTo(x - 4, y), pen.lineTo(x - 1, y + 4), pen.lineTo(x + 5, y - 4);
    else pen.moveTo(x - 5, y - 5), pen.lineTo(x + 5, y + 5), pen.moveTo(x + 5, y - 5), pen.lineTo(x - 5, y + 5);
    pen.stroke();
    pen.lineWidth = 1;
  }
}

function drawBars() {
  for (const bar of bars) {
    const row = state.rowOfLane.get(bar.lane), left = scale(bar.begin), right = scale(bar.end);
    if (!row || right < 0 || left > width || right - left < 0.5) continue;
    pen.fillStyle = colours.wait;
    pen.fillRect(left, row.top + 3, right - left, row.height - 6);
    textIn(bar.text, left, right, row.top + row.height - 9, colours["wait-text"]);
  }
}

const time = d3.bisector(entry => entry.time);

// Of entries of one teller that fall on the same pixel of a lane one is drawn.
function drawMarks() {
  const [from, to] = scale.domain();
  state.drawn = 0;
  for (const [lane, row] of state.rowOfLane) {
    const own = state.byLane[lane], last = {};
    const middle = row.top + row.height / 2;
    let labelFree = -Infinity;
    for (let i = time.left(own, from); i < own.length && own[i].time <= to; ++i) {
      const entry = own[i], x = Math.round(scale(entry.time)), teller = entry.mark || entry.teller;
      if (last[teller] === x) continue;
      last[teller] = x;
      ++state.drawn;
      pen.fillStyle = entry.mark ? colours[entry.mark === "held" ? "good" : "bad"] : colours.tellers[entry.teller];
      const log = entry.teller === "log3";
      pen.fillRect(x - 1, middle - (log ? 4 : 7), 2, log ? 8 : 14);
      if (x >= labelFree) labelFree = label(entry, own[i + 1], x, row);
    }
  }
}

// The entry's text beside its mark, where there is room up to the next mark; gives where the next label may begin.
function label(entry, next, x, row) {
  const room = (next ? scale(next.time) : width) - x;
  if (room < 60) return -Infinity;
  textIn(entry.text, x, x + room, row.top + 8, colours.text);
  return x + room;
}

const place = (index, when = entries[index].time) => {
  const row = state.rowOfLane.get(entries[index].lane);
  return row ? [scale(when), row.top + row.height / 2] : null;
};

function drawArrow(from, to, strong, colour) {
  const [x1, y1] = from, [x2, y2] = to, across = Math.abs(x2 - x1);
  const bend = y1 === y2 ? 16 : 0, reach = across < 24 ? 0 : Math.min(40, across / 2);
  const turn = reach ? Math.atan2(y2 - (y2 + bend), reach) : Math.atan2(y2 - y1, x2 - x1);
  pen.strokeStyle = pen.fillStyle = colour;
  pen.lineWidth = strong ? 2 : 1;
  pen.beginPath();
  pen.moveTo(x1, y1);
  pen.bezierCurveTo(x1 + reach, y1 + bend, x2 - reach, y2 + bend, x2, y2);
  pen.stroke();
  pen.beginPath();
  pen.moveTo(x2, y2);
  for (const side of [-0.4, 0.4]) pen.lineTo(x2 - 8 * Math.cos(turn + side), y2 - 8 * Math.sin(turn + side));
  pen.fill();
  pen.lineWidth = 1;
}

function drawArrows() {
  const done = new Set();
  state.arrowsDrawn = 0;
  pen.globalAlpha = 0.75;
  for (const arrow of arrows) {
    if (!entries[arrow.from].shows || !entries[arrow.to].shows) continue;
    const from = place(arrow.from, arrow.leaves), to = place(arrow.to, arrow.arrives);
    if (!from || !to || (from[0] < 0 && to[0] < 0) || (from[0] > width && to[0] > width)) continue;
    const key = `${Math.round(from[0] / 2)} ${from[1]} ${Math.round(to[0] / 2)} ${to[1]}`;
    if (done.has(key) || (from[1] === to[1] && to[0] - from[0] < 8)) continue;
    done.add(key);
    ++state.arrowsDrawn;
    drawArrow(from, to, false, colours.arrow);
  }
  pen.globalAlpha = 1;
}

// The chain of causes of the selected entry, and what it brings about.
function drawSelected() {
  const selected = entries[state.selected];
  if (!selected) return;
  const at = index => place(index);
  const seen = new Set();
  for (let i = selected.index; entries[i].cause >= 0 && !seen.has(i); i = entries[i].cause) {
    seen.add(i);
    const from = at(entries[i].cause), to = at(i);
    if (from && to) drawArrow(from, to, true, colours.accent);
  }
  for (const effect of (effects.get(selected.index) ?? []).slice(0, 200)) {
    const from = at(selected.index), to = at(effect);
    if (from && to) drawArrow(from, to, true, colours.accent);
  }
  const spot = at(selected.index);
  if (!spot) return;
  pen.strokeStyle = colours.accent;
  pen.lineWidth = 2;
  pen.strokeRect(spot[0] - 5, spot[1] - 11, 10, 22);
  pen.globalAlpha = 0.5;
  pen.lineWidth = 1;
  pen.beginPath();
  pen.moveTo(spot[0], 0);
  pen.lineTo(spot[0], height);
  pen.stroke();
  pen.globalAlpha = 1;
}

const drawers = {span: drawSpans, volume: drawVolume, tips: drawTips, checks: drawChecks};
const manyArrows = 3000; // are left out while the view moves
let pending = 0, calm = 0;

function draw() {
  pending = 0;
  const begin = performance.now();
  pen.fillStyle = colours.back;
  pen.fillRect(0, 0, width, height);
  pen.textBaseline = "middle";
  rows.forEach((row, i) => {
    pen.fillStyle = row.kind === "head" ? colours.panel : i % 2 ? colours.stripe : colours.back;
    pen.fillRect(0, row.top, width, row.height);
    drawers[row.kind]?.(row);
  });
  drawBars();
  const moving = performance.now() < calm;
  if (!moving || arrows.length <= manyArrows) drawArrows();
  else setTimeout(redraw, calm - performance.now() + 20);
  drawMarks();
  drawSelected();
  drawAxis();
  state.lastDraw = performance.now() - begin;
  for (const listener of listeners.splice(0)) listener();
}

function drawAxis() {
  const ticks = Math.max(2, Math.floor(width / 90));
  const axis = d3.axisBottom(scale).ticks(ticks).tickSizeOuter(0)
    .tickFormat(value => value < 0 ? "" : `${+(value / 1e6).toFixed(6)} s`);
  d3.select("#axis svg").selectAll("g").data([0]).join("g").call(axis);
}

function redraw() {
  if (!pending) pending = requestAnimationFrame(draw);
}

// --- zoom ---

const zoom = d3.zoom().scaleExtent([1, Math.max(10, end / 50)])
  .filter(event => event.type === "wheel" ? event.ctrlKey || event.metaKey || event.altKey : !event.button)
  .on("zoom", event => {
    state.transform = event.transform;
    scale = state.transform.rescaleX(base);
    calm = performance.now() + 120;
    hide();
    redraw();
  });
const onCanvas = d3.select(canvas).call(zoom).on("dblclick.zoom", null);
const bound = () => zoom.extent([[0, 0], [width, height]]).translateExtent([[0, 0], [width, height]]);
const zoomBy = factor => zoom.scaleBy(onCanvas, factor);
const moveBy = part => zoom.translateBy(onCanvas, part * width / state.transform.k, 0);
const zoomAll = () => zoom.transform(onCanvas, d3.zoomIdentity);
canvas.addEventListener("wheel", event => {
  if (Math.abs(event.deltaX) > Math.abs(event.deltaY)) event.preventDefault(), moveBy(-event.deltaX / width);
}, {passive: false});

function bringIntoView(when) {
  const [from, to] = scale.domain(), room = (to - from) * 0.05;
  if (when < from + room || when > to - room) zoom.translateTo(onCanvas, base(when), 0);
}

// --- what lies under the pointer ---

function under(x, y) {
  const row = rows.find(candidate => y >= candidate.top && y < candidate.top + candidate.height);
  if (!row) return {};
  const when = scale.invert(x);
  if (row.kind === "lane") {
    const entry = nearest(state.byLane[row.lane], x);
    return entry ? {entry} : {bar: bars.findLast(bar => bar.lane === row.lane && bar.begin <= when && when <= bar.end)};
  }
  if (row.kind === "checks") return {entry: nearest(entries.filter(entry => entry.mark), x)};
  if (row.kind === "tips") return {card: data.cards.find(card => card.begin <= when && when <= card.end)};
  if (row.track) return {track: row.track, span: row.track.spans.find(([begin, finish]) => begin <= when && when <= finish)};
  return {};
}

function nearest(candidates, x) {
  const i = time.center(candidates, scale.invert(x));
  return candidates[i] && Math.abs(scale(candidates[i].time) - x) <= 6 ? candidates[i] : undefined;
}

function hintOf({entry, bar, card, track, span: value}) {
  if (entry) return `${seconds(entry.time)} s  ${entry.teller}  ${shown(entry.text)}`;
  if (bar) return `${shown(bar.text)} (${span(bar.end - bar.begin)})`;
  if (card) return shown(card.content || card.title);
  return value ? `${shown(track.name)}: ${shown(value[2])}, ${seconds(value[0])} s to ${seconds(value[1])} s` : "";
}

function hide() {
  $("hint").hidden = true;
}

canvas.addEventListener("pointermove", event => {
  const [x, y] = d3.pointer(event, canvas);
  const text = event.buttons ? "" : hintOf(under(x, y));
  $("hint").hidden = !text;
  if (!text) return;
  $("hint").textContent = text;
  const area = $("chart").getBoundingClientRect();
  $("hint").style.left = `${Math.max(4, Math.min(event.clientX - area.left + 12, area.width - $("hint").offsetWidth - 4))}px`;
  $("hint").style.top = `${event.clientY - area.top + 16}px`;
});
canvas.addEventListener("pointerleave", hide);
canvas.addEventListener("click", event => {
  const found = under(...d3.pointer(event, canvas));
  if (found.entry) return select(found.entry.index);
  state.selected = -1;
  if (found.bar) showBar(found.bar);
  else if (found.card) showCard(found.card);
  else if (found.span) showSpan(found.track, found.span);
  else showRun();
  list.refresh();
  redraw();
});

// --- details ---

const heading = text => make("h2", {}, text);
const described = pairs => {
  const known = make("dl");
  for (const [name, value] of pairs) known.append(make("dt", {}, name), make("dd", {dir: "auto"}, shown(String(value))));
  return known;
};
const link = index => make("li", {}, make("button", {type: "button", "data-entry": index, onclick: () => select(index)},
  `${seconds(entries[index].time)}  ${data.lanes[entries[index].lane]}: ${shown(entries[index].text)}`));

function links(title, indices) {
  if (!indices.length) return [];
  const some = indices.slice(0, 30);
  const rest = indices.length - some.length;
  return [make("h3", {}, title), make("ul", {"data-links": title}, ...some.map(link)),
    ...(rest ? [make("p", {class: "quiet"}, `and ${rest} more`)] : [])];
}

function showEntry(entry) {
  $("details").replaceChildren(heading(`Entry ${entry.index + 1} at ${seconds(entry.time, 6)} s`),
    make("p", {class: "text", dir: "auto"}, shown(entry.text)),
    described([["thread", data.lanes[entry.lane]], ["teller", entry.teller], ...(entry.kind ? [["kind", entry.kind]] : []),
      ...Object.entries(entry.values)]),
    ...links("Comes of", entry.cause >= 0 ? [entry.cause] : []), ...links("Brings about", effects.get(entry.index) ?? []));
  const card = data.cards.find(candidate => candidate.entry === entry.index);
  if (card) $("details").append(tip(card));
}

function showBar(bar) {
  $("details").replaceChildren(heading("Wait"), make("p", {class: "text"}, shown(bar.text)),
    described([["thread", data.lanes[bar.lane]], ["from", `${seconds(bar.begin)} s`], ["to", `${seconds(bar.end)} s`],
      ["lasted", span(bar.end - bar.begin)]]));
}

function showSpan(track, [begin, finish, value]) {
  $("details").replaceChildren(heading(shown(track.name)), make("p", {class: "text", dir: "auto"}, shown(value)),
    described([["what", track.group], ["from", `${seconds(begin)} s`], ["to", `${seconds(finish)} s`]]));
}

const tip = card => make("div", {class: "tip"}, make("span", {class: "icon"}, shown(card.icon ?? "")),
  make("b", {dir: "auto"}, shown(card.title ?? "")), make("span", {dir: "auto"}, shown(card.content ?? "")),
  make("div", {class: "buttons"}, ...["first button", "second button"].map(name => make("span", {dir: "auto"}, shown(card[name] ?? "")))));

function showCard(card) {
  $("details").replaceChildren(heading("Tip"), tip(card),
    described([["from", `${seconds(card.begin)} s`], ["to", `${seconds(card.end)} s`], ["showed", span(card.end - card.begin)]]),
    ...links("Shown by", [card.entry]));
}

function showRun() {
  const lasting = bars.map(bar => ({...bar, length: bar.end - bar.begin})).sort((a, b) => b.length - a.length).slice(0, 8);
  $("details").replaceChildren(heading("The run"),
    described([["lasted", `${seconds(end)} s`], ["entries", entries.length], ["arrows", arrows.length], ["waits", bars.length]]),
    make("h3", {}, "Longest waits"),
    make("ul", {}, ...lasting.map(bar => make("li", {}, make("button", {type: "button", onclick: () => {
      bringIntoView(bar.begin);
      showBar(bar);
    }}, `${span(bar.length)}  ${data.lanes[bar.lane]}: ${shown(bar.text)}`)))),
    make("p", {class: "quiet"}, "Click a mark, a bar or a row of the list for its details."));
}

function select(index, quiet = false) {
  state.selected = index;
  if (index < 0) showRun();
  else {
    showEntry(entries[index]);
    bringIntoView(entries[index].time);
    if (!quiet) list.bring(index);
  }
  list.refresh();
  redraw();
}

// --- the list: only the rows in sight are elements ---

const list = {
  element: $("list"),
  rowHeight: () => parseInt(getComputedStyle(document.documentElement).getPropertyValue("--row")),
  refresh() {
    const high = this.rowHeight(), first = Math.max(0, Math.floor(this.element.scrollTop / high) - 5);
    const count = Math.ceil(this.element.clientHeight / high) + 10;
    $("rows").style.height = `${state.matching.length * high}px`;
    this.element.setAttribute("aria-rowcount", state.matching.length);
    $("rows").replaceChildren(...state.matching.slice(first, first + count).map((entry, i) => this.row(entry, (first + i) * high)));
  },
  row(entry, top) {
    const selected = entry.index === state.selected;
    return make("div", {class: `row ${entry.mark}`, role: "row", style: `top:${top}px`, "data-entry": entry.index,
      "aria-rowindex": entry.place + 1, "aria-selected": selected, onclick: () => select(entry.index, true)},
      make("span", {class: "time", role: "gridcell"}, seconds(entry.time)),
      make("span", {role: "gridcell"}, shown(data.lanes[entry.lane])),
      make("span", {role: "gridcell"}, make("i", {class: "swatch", style: `background:${colours.tellers[entry.teller]}`}), entry.teller),
      make("span", {class: "what", role: "gridcell", dir: "auto", title: shown(entry.text)}, shown(entry.text)));
  },
  bring(index) {
    const entry = entries[index], high = this.rowHeight();
    if (!entry.shows) return;
    const top = entry.place * high;
    if (top < this.element.scrollTop || top + high > this.element.scrollTop + this.element.clientHeight)
      this.element.scrollTop = top - this.element.clientHeight / 2;
  },
};
list.element.addEventListener("scroll", () => requestAnimationFrame(() => list.refresh()));

// --- tools and keys ---

function step(by) {
  const selected = entries[state.selected];
  const at = selected?.shows ? selected.place + by : by > 0 ? 0 : state.matching.length - 1;
  const next = state.matching[Math.max(0, Math.min(at, state.matching.length - 1))];
  if (next) select(next.index);
}

function choices(id, all, chosen, name, colour) {
  const boxes = all.map(([key, text]) => make("input", {type: "checkbox", checked: true, value: String(key), onchange: event => {
    event.target.checked ? chosen.add(key) : chosen.delete(key);
    filter();
  }}));
  const setAll = on => {
    boxes.forEach((box, i) => { box.checked = on; on ? chosen.add(all[i][0]) : chosen.delete(all[i][0]); });
    filter();
  };
  $(id).replaceChildren(make("div", {class: "group all"}, make("button", {type: "button", onclick: () => setAll(true)}, "All"),
    make("button", {type: "button", onclick: () => setAll(false)}, "None")),
    ...all.map(([key, text], i) => make("label", {}, boxes[i], " ",
      ...(colour ? [make("i", {class: "swatch", style: `background:var(--c-${/^[a-z0-9]+$/.test(key) ? key : "other"}, var(--c-other))`})] : []), shown(text))));
}

const keys = {
  ArrowDown: () => step(1), ArrowUp: () => step(-1), j: () => step(1), k: () => step(-1),
  ArrowLeft: () => moveBy(0.2), ArrowRight: () => moveBy(-0.2),
  "+": () => zoomBy(1.6), "=": () => zoomBy(1.6), "-": () => zoomBy(1 / 1.6), 0: zoomAll,
  c: () => entries[state.selected]?.cause >= 0 && select(entries[state.selected].cause),
  e: () => effects.has(state.selected) && select(effects.get(state.selected)[0]),
  "/": () => $("search").focus(),
  Escape: () => select(-1),
};
document.addEventListener("keydown", event => {
  if (event.ctrlKey || event.metaKey || event.altKey || /^(INPUT|SUMMARY|BUTTON)$/.test(event.target.tagName)) return;
  const act = keys[event.key];
  if (!act) return;
  event.preventDefault();
  act();
});
$("search").addEventListener("input", event => { state.query = event.target.value; filter(); });
$("search").addEventListener("keydown", event => {
  if (event.key === "Enter") step(event.shiftKey ? -1 : 1);
  if (event.key === "Escape") { event.target.value = state.query = ""; filter(); event.target.blur(); }
});
$("zoom-in").addEventListener("click", () => zoomBy(1.6));
$("zoom-out").addEventListener("click", () => zoomBy(1 / 1.6));
$("zoom-all").addEventListener("click", zoomAll);
document.addEventListener("click", event => {
  for (const menu of document.querySelectorAll(".menu[open]")) if (!menu.contains(event.target)) menu.open = false;
});

const dark = matchMedia("(prefers-color-scheme: dark)");
function setTheme(theme) {
  document.documentElement.dataset.theme = theme;
  readColours();
  list.refresh();
  redraw();
}
dark.addEventListener("change", () => setTheme(dark.matches ? "dark" : "light"));
$("theme").addEventListener("click", () => setTheme(document.documentElement.dataset.theme === "dark" ? "light" : "dark"));

// --- the begin ---

function showHead() {
  document.title = `${shown(data.title)}: ${data.held ? "passed" : "failed"}`;
  $("title").textContent = shown(data.title);
  $("verdict").append(make("b", {class: data.held ? "held" : "failed"}, data.held ? "PASSED" : "FAILED"),
    `: ${data.expectations} expectations held, ${entries.length} entries in ${seconds(end)} s`);
  const failure = entries.find(entry => entry.mark === "failed");
  if (!failure) return;
  $("failure").hidden = false;
  $("failure").append(make("button", {type: "button", dir: "auto", onclick: () => select(failure.index)}, shown(failure.text)));
}

new ResizeObserver(() => { size(); bound(); list.refresh(); redraw(); }).observe($("plot"));
showHead();
choices("lane-filter", data.lanes.map((name, lane) => [lane, name]), state.lanes);
choices("teller-filter", data.tellers.map(name => [name, name]), state.tellers, "", true);
setTheme(dark.matches ? "dark" : "light");
filter();
bound();
showRun();

// For tools that drive the page.
window.run = {
  data, entries, arrows, effects, state, select,
  drawn: () => new Promise(resolve => { listeners.push(() => resolve(state.lastDraw)); redraw(); }),
  zoomTo: (from, to) => zoom.transform(onCanvas, d3.zoomIdentity.scale(width / (base(to) - base(from))).translate(-base(from), 0)),
  place: index => {
    const [x, y] = place(index), area = canvas.getBoundingClientRect();
    return {x: area.left + x, y: area.top + y};
  },
  rows: () => rows.map(({kind, name, top, height: high}) => ({kind, name, top, height: high})),
};
})();
