"use strict";
const data = JSON.parse(document.getElementById("data").textContent);
const report = data.report;
const $ = (id) => document.getElementById(id);
const jointCount = data.names.length;
const source = unpack(data.source), solved = unpack(data.solved);
const frameCount = source.length / (3 * jointCount);
const first = report.frames.first;
const height = report.figure.height;
const frameSeconds = report.frames.frame_time * data.stride;
const isAbove = !report.met && report.max_mean_error !== null;

/** Positions from 16-bit steps in the box to file units. */
function unpack(text) {
  const raw = atob(text), out = new Float32Array(raw.length / 2);
  const unit = data.box.size / 65535;
  for (let i = 0; i < out.length; i++)
    out[i] = data.box.low[i % 3] + unit * (raw.charCodeAt(2 * i) | (raw.charCodeAt(2 * i + 1) << 8));
  return out;
}

function number(value, digits = 3) {
  if (value === 0) return "0";
  if (Math.abs(value) >= 1e7 || Math.abs(value) < 1e-4) return value.toExponential(1);
  const before = Math.floor(Math.log10(Math.abs(value))) + 1;
  return value.toLocaleString("en", { maximumFractionDigits: Math.min(8, Math.max(0, digits - before)) });
}
const plural = (count, word) => `${number(count, 9)} ${word}${count === 1 ? "" : "s"}`;
const fileName = (path) => path.split(/[\\/]/).pop();

function add(parent, tag, text, className) {
  const element = document.createElement(tag);
  if (text !== undefined) element.textContent = text;
  if (className) element.className = className;
  parent.append(element);
  return element;
}

/** A number that leads to its frame. */
function frameLink(parent, frame) {
  const link = add(parent, "button", String(frame), "link");
  link.type = "button";
  link.onclick = (event) => { event.stopPropagation(); goTo(frame); };
}

/** A row of a table that leads to its worst frame, which stands in its last cell. */
function linkRow(line, frame) {
  frameLink(add(line, "td"), frame);
  line.classList.add("linked");
  line.dataset.frame = frame;
  line.onclick = () => goTo(frame);
}

function goTo(frame) {
  setPlaying(false);
  show((frame - first) / data.stride);
  const place = $("figure").getBoundingClientRect();
  if (place.bottom < place.height / 2 || place.top > innerHeight - place.height / 2)
    $("stage").scrollIntoView({ behavior: matchMedia("(prefers-reduced-motion: reduce)").matches ? "auto" : "smooth" });
}

// ---- Numbers ------------------------------------------------------------------------------------------------------

function fillHead() {
  document.title = `${fileName(report.output)}: ${data.title || "tracked motion"}`;
  $("title").textContent = `${fileName(report.input)} → ${fileName(report.output)}`;
  const goals = plural(report.goals.length, "joint"), figure = report.figure;
  const tall = figure.metres_per_unit ? `, ${number(height * figure.metres_per_unit)} m tall in ${figure.unit}` : "";
  const what = data.title ? `${data.title}: ` : "";
  $("subtitle").textContent = `${what}${plural(figure.joint_count, "joint")} solved from the motion of ${goals}, ` +
    `${plural(report.frames.count, "frame")} (${report.frames.first} to ${report.frames.last})${tall}, ${figure.up} up`;
  const diverged = report.diverged.count > 0;
  const verdict = $("verdict");
  verdict.className = diverged || !report.met ? "bad" : "good";
  verdict.textContent = diverged ? `${plural(report.diverged.count, "frame")} diverged`
    : isAbove ? "mean residual above the limit" : !report.met ? "a limit was missed"
    : report.max_mean_error !== null ? "within the limit" : "no frame diverged";
}

function fillTiles() {
  const tile = (value, unit, text, bad) => {
    const box = add($("tiles"), "div", undefined, bad ? "tile bad" : "tile");
    add(add(box, "b", value), "small", unit);
    add(box, "span", text);
    box.title = `${value} ${unit} ${text}`;
  };
  if (report.residual) {
    tile(number(report.residual.mean_percent), "%", "mean residual", isAbove);
    tile(number(report.residual.worst_percent), "%", `worst, ${report.residual.worst_joint}`);
  }
  if (report.joint_step.solved)
    tile(number(report.joint_step.solved.degrees), "°", `largest step; source ${number(report.joint_step.source.degrees)}°`);
  tile(number(report.solve_seconds.mean * 1e6), "µs", "mean solve a frame");
  tile(number(report.time.frames_per_second), "frames/s", "with reading and writing");
  tile(number(report.diverged.count, 9), "", "frames diverged", report.diverged.count > 0);
}

function fillTables() {
  const table = $("goals"), directions = $("directions").querySelector("table");
  for (const [parent, name] of [[table, "goal"], [directions, "stretch"]]) {
    const head = add(parent, "tr");
    for (const text of [name, "mean", "p95", "worst", "in frame"]) add(head, "th", text);
  }
  const cell = (row, main, small) => {
    const box = add(row, "td", main);
    if (small) add(box, "small", small);
  };
  const row = (name, small, spread, unit, className) => {
    const line = add(table, "tr", undefined, className);
    cell(line, name, small);
    for (const key of ["mean", "p95", "worst"])
      unit === "%" ? cell(line, `${number(spread[key + "_percent"])} %`, number(spread[key]))
                   : cell(line, `${number(spread[key])}°`);
    linkRow(line, spread.worst_frame);
  };
  for (const goal of report.goals) {
    if (goal.position) row(goal.joint, goal.role, goal.residual, "%");
    if (goal.rotation) row(goal.joint, "orientation", goal.degrees, "°");
  }
  if (report.residual && report.goals.length > 1) row("all", "", report.residual, "%", "total");
  $("unit").textContent = `Distance of the joint from its goal: percent of the figure's height (${number(height, 4)} units), ` +
    "and below it in file units.";

  $("directions").hidden = data.directions.length === 0;
  for (const { name, degrees } of data.directions) {
    const line = add(directions, "tr");
    cell(line, name);
    for (const key of ["mean", "p95", "worst"]) cell(line, `${number(degrees[key])}°`);
    linkRow(line, degrees.worst_frame);
  }

  const fact = (name, ...parts) => {
    const line = add($("facts"), "tr");
    add(line, "td", name);
    const box = add(line, "td");
    for (const part of parts) typeof part === "number" ? frameLink(box, part) : box.append(part);
  };
  for (const [name, text] of data.facts) fact(name, text);
  for (const key of ["source", "solved"]) {
    const step = report.joint_step[key];
    if (step) fact(`largest step, ${key}`, `${number(step.degrees)}° ${step.joint}, frame `, step.frame);
  }
  const solve = report.solve_seconds, settings = report.settings;
  fact("solve a frame", `mean ${number(solve.mean * 1e6)}, p95 ${number(solve.p95 * 1e6)}, worst ${number(solve.worst * 1e6)} µs, frame `,
    solve.worst_frame);
  const iterations = report.iterations;
  fact("iterations a frame", `mean ${number(iterations.mean)}, p95 ${number(iterations.p95)}, worst ${number(iterations.worst)}, frame `,
    iterations.worst_frame);
  fact("whole run", `read ${number(report.time.read, 2)}, solve ${number(report.time.solve, 2)}, write ${number(report.time.write, 2)} s`);
  fact("settings", `${settings.steps} steps, tolerance ${settings.tolerance}, precision ${settings.precision}, pull ${settings.pull}`);
  fact("start and root", `${settings.from_rest ? "every frame from rest" : "warm from the frame before"}, ` +
    `root ${settings.translate_root ? "translates" : "fixed"}`);
  if (report.diverged.count > 0) {
    const ranges = report.diverged.ranges.slice(0, 12).map(([a, b]) => (a === b ? `${a}` : `${a} to ${b}`)).join(", ");
    fact("diverged", ranges + (report.diverged.ranges.length > 12 ? ", ..." : ""));
  }
  $("warnings").hidden = report.warnings.length === 0;
  for (const text of report.warnings) add($("warnings").querySelector("ul"), "li", text);
  if (data.stride > 1)
    $("note").textContent = `To keep the page small one frame in ${data.stride} is drawn; a plot shows the largest value ` +
      `of each ${data.stride} frames.`;
}

// ---- Colours and canvases -----------------------------------------------------------------------------------------

let colour = {};
function readColours() {
  const style = getComputedStyle(document.documentElement);
  for (const name of ["card", "ink", "quiet", "line", "grid", "source", "solved", "goal", "worst", "bad", "fill"])
    colour[name] = style.getPropertyValue(`--${name}`).trim();
}

/** The canvas cleared and scaled to the screen's pixels, drawn in CSS pixels. */
function prepare(canvas) {
  const ratio = window.devicePixelRatio || 1, width = canvas.clientWidth, tall = canvas.clientHeight;
  if (canvas.width !== Math.round(width * ratio) || canvas.height !== Math.round(tall * ratio)) {
    canvas.width = Math.round(width * ratio);
    canvas.height = Math.round(tall * ratio);
  }
  const pen = canvas.getContext("2d");
  pen.setTransform(ratio, 0, 0, ratio, 0, 0);
  pen.clearRect(0, 0, width, tall);
  pen.lineCap = pen.lineJoin = "round";
  return { pen, width, tall };
}

// ---- The figure ---------------------------------------------------------------------------------------------------

const upAxis = "XYZ".indexOf(report.figure.up[1]), upSign = report.figure.up[0] === "-" ? -1 : 1;
const sideA = (upAxis + (upSign > 0 ? 1 : 2)) % 3, sideB = (upAxis + (upSign > 0 ? 2 : 1)) % 3;
const ground = lowest();
const reach = highest() - ground;
const home = homeView();
let view = { ...home }, sideBySide = false, following = true, withTrails = true;

function lowest() {
  let low = Infinity;
  for (let i = upAxis; i < source.length; i += 3) low = Math.min(low, upSign * source[i]);
  return low;
}

/** What the figures reach at most, so that no head is cut; a diverged frame must not make them dots. */
function highest() {
  let high = ground + height;
  for (const points of [source, solved])
    for (let i = upAxis; i < points.length; i += 3) high = Math.max(high, upSign * points[i]);
  return Math.min(high, ground + 1.7 * height);
}

/** Three quarters from the front where left and right are known. */
function homeView() {
  const at = (role) => report.goals.findIndex((goal) => goal.role === role);
  let turn = Math.PI / 5;
  for (const part of ["hand", "foot"]) {
    const left = at(`left ${part}`), right = at(`right ${part}`);
    if (left < 0 || right < 0) continue;
    let a = 0, b = 0;
    for (let f = 0; f < frameCount; f += Math.max(1, Math.floor(frameCount / 50))) {
      const l = 3 * (f * jointCount + data.goals[left]), r = 3 * (f * jointCount + data.goals[right]);
      a += source[l + sideA] - source[r + sideA];
      b += source[l + sideB] - source[r + sideB];
    }
    turn = Math.atan2(b, a) + Math.PI / 5;
    break;
  }
  return { turn, tilt: 0.22, zoom: 1 };
}

/** World to canvas for one frame: orthographic, the figure's root in the middle. */
function makeCamera(width, tall, frame) {
  const centre = [0, 0, 0], base = 3 * frame * jointCount;
  if (following) {
    for (const a of [sideA, sideB]) centre[a] = source[base + a];
    centre[upAxis] = upSign * (ground + 0.53 * reach);
  } else {
    for (const a of [0, 1, 2]) centre[a] = data.box.low[a] + height + extent[a] / 2;
  }
  const span = following ? 1.28 * reach : 1.15 * Math.max(height, extent[upAxis]);
  const wide = following ? (sideBySide ? 2.2 : 1.2) * height : Math.hypot(extent[sideA], extent[sideB]) + height;
  const scale = view.zoom * Math.min(tall / span, width / wide);
  const c = Math.cos(view.turn), s = Math.sin(view.turn), ct = Math.cos(view.tilt), st = Math.sin(view.tilt);
  return (x, y, z, shift = 0) => {
    const p = [x - centre[0], y - centre[1], z - centre[2]];
    const right = c * p[sideA] + s * p[sideB], back = -s * p[sideA] + c * p[sideB];
    return [width / 2 + scale * (right + shift), tall / 2 - scale * (upSign * p[upAxis] * ct + back * st)];
  };
}

const extent = [0, 1, 2].map((a) => {
  let low = Infinity, high = -Infinity;
  for (let i = a; i < source.length; i += 3) {
    low = Math.min(low, source[i]);
    high = Math.max(high, source[i]);
  }
  return high - low;
});

function drawGround(pen, camera, frame) {
  const step = height / 2, radius = following ? 1.9 * height : Math.hypot(extent[sideA], extent[sideB]) / 2 + height;
  const base = 3 * frame * jointCount;
  const middle = following ? [source[base + sideA], source[base + sideB]]
    : [sideA, sideB].map((a) => data.box.low[a] + height + extent[a] / 2);
  const point = (a, b) => {
    const p = [0, 0, 0];
    p[sideA] = a; p[sideB] = b; p[upAxis] = upSign * ground;
    return camera(...p);
  };
  pen.strokeStyle = colour.grid;
  pen.lineWidth = 1;
  const every = Math.max(1, Math.ceil(radius / step / 40));
  for (const side of [0, 1]) {
    for (let k = Math.ceil((middle[side] - radius) / step); k * step < middle[side] + radius; k++) {
      if (k % every) continue;
      const off = k * step - middle[side], half = Math.sqrt(Math.max(0, radius * radius - off * off));
      const ends = [-half, half].map((h) => (side ? point(middle[0] + h, k * step) : point(k * step, middle[1] + h)));
      pen.globalAlpha = 0.25 + 0.75 * (half / radius) ** 2;
      pen.beginPath();
      pen.moveTo(...ends[0]);
      pen.lineTo(...ends[1]);
      pen.stroke();
    }
  }
  pen.globalAlpha = 1;
}

function drawBones(pen, camera, points, frame, shift, line, width, dots) {
  const base = 3 * frame * jointCount;
  const at = (j) => camera(points[base + 3 * j], points[base + 3 * j + 1], points[base + 3 * j + 2], shift);
  const places = data.names.map((_, j) => at(j));
  pen.strokeStyle = pen.fillStyle = line;
  pen.lineWidth = width;
  pen.beginPath();
  for (let j = 0; j < jointCount; j++) {
    if (data.parents[j] < 0) continue;
    pen.moveTo(...places[data.parents[j]]);
    pen.lineTo(...places[j]);
  }
  pen.stroke();
  if (!dots) return;
  for (let j = 0; j < jointCount; j++) {
    if (!data.names[j]) continue;
    pen.beginPath();
    pen.arc(...places[j], dots, 0, 7);
    pen.fill();
  }
}

function drawTrails(pen, camera, frame, shift) {
  const past = Math.min(frame, Math.round(1.0 / Math.max(frameSeconds, 1e-3)));
  pen.strokeStyle = colour.solved;
  pen.lineWidth = 1.5;
  for (const joint of data.goals) {
    // A few pieces of growing strength make the tail fade.
    for (let piece = 0; piece < 6; piece++) {
      pen.globalAlpha = 0.08 + 0.07 * piece;
      pen.beginPath();
      const from = frame - past + Math.floor((past * piece) / 6), to = frame - past + Math.floor((past * (piece + 1)) / 6);
      for (let f = from; f <= to; f++) {
        const i = 3 * (f * jointCount + joint);
        const place = camera(solved[i], solved[i + 1], solved[i + 2], shift);
        f === from ? pen.moveTo(...place) : pen.lineTo(...place);
      }
      pen.stroke();
    }
  }
  pen.globalAlpha = 1;
}

function drawFigure() {
  const { pen, width, tall } = prepare($("figure"));
  const camera = makeCamera(width, tall, frame), shift = sideBySide ? 0.5 * height : 0;
  drawGround(pen, camera, frame);
  if (withTrails) drawTrails(pen, camera, frame, shift);
  drawBones(pen, camera, source, frame, -shift, colour.source, sideBySide ? 3 : 7, sideBySide ? 3.2 : 0);
  drawBones(pen, camera, solved, frame, shift, colour.solved, 2.6, 3.2);
  pen.strokeStyle = colour.goal;
  pen.lineWidth = 2.2;
  data.goals.forEach((joint, index) => {
    if (!report.goals[index].position) return;
    const i = 3 * (frame * jointCount + joint);
    pen.beginPath();
    pen.arc(...camera(source[i], source[i + 1], source[i + 2], shift), 7.5, 0, 7);
    pen.stroke();
  });
}

// ---- Plots --------------------------------------------------------------------------------------------------------

const kLeft = 62, kRight = 14, kTop = 10, kBottom = 20;
const plots = [];

function addPlot(title, unit, lines, note) {
  const card = add($("plots"), "div", undefined, "card plot"), bar = add(card, "div", undefined, "bar");
  add(bar, "h2", title);
  for (const line of lines) {
    const key = add(bar, "span", undefined, "key");
    add(key, "i", undefined, `swatch ${line.colour}`);
    key.append(line.name);
    line.value = add(key, "output");
  }
  add(bar, "span", undefined, "grow");
  add(bar, "span", note, "quiet small note").title = note;
  const canvas = add(card, "canvas");
  const all = lines.flatMap((line) => line.values), sorted = Float64Array.from(all).sort();
  const worst = sorted[sorted.length - 1] || 0, usual = sorted[Math.floor(0.98 * (sorted.length - 1))] || 0;
  // A single spike must not flatten everything else: it is cut off and marked.
  const top = worst > 4 * usual && usual > 0 ? 2 * usual : worst;
  const plot = { canvas, lines, unit, top: niceTop(top) };
  const go = (event) => {
    const share = (event.offsetX - kLeft) / Math.max(1, canvas.clientWidth - kLeft - kRight);
    setPlaying(false);
    show(share * (frameCount - 1));
  };
  canvas.onpointerdown = (event) => { canvas.setPointerCapture(event.pointerId); go(event); };
  canvas.onpointermove = (event) => { if (event.buttons & 1) go(event); };
  plots.push(plot);
}

function niceTop(value) {
  if (!(value > 0)) return 1;
  const unit = 10 ** Math.floor(Math.log10(value));
  return unit * [1, 2, 4, 5, 6, 8, 10].find((step) => step * unit >= value * 1.0001 || step === 10);
}

/** The part of a plot that stands still: drawn once for each size and colour scheme. */
function drawStill(plot) {
  const { pen, width, tall } = prepare(plot.canvas);
  const x = (i) => kLeft + (i / Math.max(1, frameCount - 1)) * (width - kLeft - kRight);
  const y = (value) => tall - kBottom - (Math.min(value, plot.top) / plot.top) * (tall - kTop - kBottom);
  pen.font = "11px system-ui, sans-serif";
  pen.fillStyle = colour.quiet;
  pen.strokeStyle = colour.line;
  pen.lineWidth = 1;
  pen.textAlign = "right";
  pen.textBaseline = "middle";
  for (const share of [0, 0.5, 1]) {
    const line = Math.round(y(share * plot.top)) + 0.5;
    pen.beginPath();
    pen.moveTo(kLeft, line);
    pen.lineTo(width - kRight, line);
    pen.stroke();
    pen.fillText(`${number(share * plot.top)}${plot.unit}`, kLeft - 7, line);
  }
  pen.textBaseline = "alphabetic";
  const last = first + (frameCount - 1) * data.stride, step = Math.max(1, niceTop(((last - first) * 100) / width));
  pen.textAlign = "center";
  for (let mark = Math.ceil(first / step) * step; mark <= last; mark += step)
    pen.fillText(String(mark), x((mark - first) / data.stride), tall - 4);
  pen.fillStyle = colour.bad;
  pen.globalAlpha = 0.3;
  for (const [a, b] of report.diverged.ranges) {
    const from = x((a - first) / data.stride), to = x((b - first) / data.stride);
    pen.fillRect(from - 1, kTop, Math.max(2, to - from + 1), tall - kTop - kBottom);
  }
  pen.globalAlpha = 1;
  for (const line of plot.lines) {
    pen.beginPath();
    line.values.forEach((value, i) => (i === 0 ? pen.moveTo(x(i), y(value)) : pen.lineTo(x(i), y(value))));
    pen.strokeStyle = colour[line.colour];
    pen.lineWidth = 1.4;
    pen.stroke();
    if (line.fill) {
      pen.lineTo(x(frameCount - 1), y(0));
      pen.lineTo(x(0), y(0));
      pen.fillStyle = colour.fill;
      pen.fill();
    }
    line.values.forEach((value, i) => {
      if (value <= plot.top) return;
      pen.fillStyle = colour[line.colour];
      pen.beginPath();
      pen.moveTo(x(i), kTop - 8);
      pen.lineTo(x(i) - 4, kTop);
      pen.lineTo(x(i) + 4, kTop);
      pen.fill();
    });
  }
  markWorst(plot, pen, x, y, width);
  plot.still = document.createElement("canvas");
  plot.still.width = plot.canvas.width;
  plot.still.height = plot.canvas.height;
  plot.still.getContext("2d").drawImage(plot.canvas, 0, 0);
  plot.x = x;
  plot.y = y;
}

function markWorst(plot, pen, x, y, width) {
  const line = plot.lines.find((candidate) => candidate.marked);
  let worst = 0;
  line.values.forEach((value, i) => { if (value > line.values[worst]) worst = i; });
  const value = line.values[worst];
  if (!(value > 0)) return;
  const text = `worst ${number(value)}${plot.unit}, frame ${line.worstFrame ?? first + worst * data.stride}`;
  const place = Math.max(y(value), kTop + 3), right = x(worst) + pen.measureText(text).width + 16 < width;
  pen.fillStyle = colour.bad;
  pen.beginPath();
  pen.arc(x(worst), place, 3.5, 0, 7);
  pen.fill();
  pen.textAlign = right ? "left" : "right";
  pen.textBaseline = "middle";
  const at = x(worst) + (right ? 9 : -9), wide = pen.measureText(text).width;
  pen.fillStyle = colour.card;
  pen.globalAlpha = 0.8;
  pen.fillRect(right ? at - 3 : at - wide - 3, place - 8, wide + 6, 16);
  pen.globalAlpha = 1;
  pen.fillStyle = colour.ink;
  pen.fillText(text, at, place + 0.5);
  pen.textBaseline = "alphabetic";
}

function drawPlots() {
  for (const plot of plots) {
    if (!plot.still) drawStill(plot);
    const { pen, tall } = prepare(plot.canvas);
    const ratio = plot.canvas.width / plot.canvas.clientWidth;
    pen.drawImage(plot.still, 0, 0, plot.still.width / ratio, plot.still.height / ratio);
    pen.strokeStyle = colour.ink;
    pen.lineWidth = 1;
    pen.globalAlpha = 0.6;
    pen.beginPath();
    pen.moveTo(plot.x(frame), kTop);
    pen.lineTo(plot.x(frame), tall - kBottom);
    pen.stroke();
    pen.globalAlpha = 1;
    for (const line of plot.lines) {
      line.value.textContent = `${number(line.values[frame])}${plot.unit}`;
      pen.fillStyle = colour[line.colour];
      pen.beginPath();
      pen.arc(plot.x(frame), plot.y(line.values[frame]), 3, 0, 7);
      pen.fill();
    }
  }
}

// ---- Playing ------------------------------------------------------------------------------------------------------

let frame = 0, position = 0, playing = false, lastTime = 0, pending = false;

function redraw() {
  if (pending) return;
  pending = true;
  requestAnimationFrame(() => { pending = false; drawAll(); });
}
function drawAll() {
  drawFigure();
  drawPlots();
  const number = first + frame * data.stride;
  $("scrub").value = frame;
  for (const line of document.querySelectorAll("tr.linked"))
    line.classList.toggle("shown", Math.round((line.dataset.frame - first) / data.stride) === frame);
  $("now").textContent = `frame ${number}, ${((number - first) * report.frames.frame_time).toFixed(2)} s`;
}
function show(at) {
  position = Math.min(frameCount - 1, Math.max(0, at));
  frame = Math.round(position);
  redraw();
}
function setPlaying(on) {
  playing = on && frameCount > 1;
  $("play").textContent = playing ? "pause" : "play";
  lastTime = 0;
  if (playing) requestAnimationFrame(tick);
}
function tick(time) {
  if (!playing) return;
  if (lastTime) {
    position += ((time - lastTime) / 1000 / Math.max(frameSeconds, 1e-3)) * Number($("speed").value);
    if (position > frameCount - 1) position = 0;
    if (Math.floor(position) !== frame) {
      frame = Math.floor(position);
      drawAll();
    }
  }
  lastTime = time;
  requestAnimationFrame(tick);
}

function connect() {
  $("scrub").max = frameCount - 1;
  $("scrub").oninput = () => { setPlaying(false); show(Number($("scrub").value)); };
  $("play").onclick = () => setPlaying(!playing);
  const toggle = (id, change) => {
    $(id).onclick = () => {
      $(id).setAttribute("aria-pressed", String(change()));
      redraw();
    };
  };
  toggle("layout", () => (sideBySide = !sideBySide));
  toggle("follow", () => (following = !following));
  toggle("trails", () => (withTrails = !withTrails));
  $("reset").onclick = () => { view = { ...home }; redraw(); };
  const canvas = $("figure");
  canvas.onpointerdown = (event) => canvas.setPointerCapture(event.pointerId);
  canvas.onpointermove = (event) => {
    if (!(event.buttons & 1)) return;
    view.turn -= event.movementX * 0.01;
    view.tilt = Math.min(1.57, Math.max(-0.3, view.tilt + event.movementY * 0.01));
    redraw();
  };
  canvas.addEventListener("wheel", (event) => {
    event.preventDefault();
    view.zoom = Math.min(8, Math.max(0.2, view.zoom * Math.exp(-event.deltaY * 0.0012)));
    redraw();
  }, { passive: false });
  document.addEventListener("keydown", (event) => {
    if (event.target.matches?.("select, button, input") && event.key === " ") return;
    if (event.key === " ") setPlaying(!playing);
    else if (event.key === "ArrowRight" || event.key === "ArrowLeft") {
      setPlaying(false);
      show(frame + (event.key === "ArrowRight" ? 1 : -1) * (event.shiftKey ? 10 : 1));
    } else return;
    event.preventDefault();
  });
  const renew = () => {
    readColours();
    for (const plot of plots) plot.still = null;
    redraw();
  };
  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", renew);
  new ResizeObserver(renew).observe(document.body);
}

readColours();
fillHead();
fillTiles();
fillTables();
if (report.residual)
  addPlot("Residual", " %", [
    { name: "worst goal", colour: "worst", values: data.series.worst, marked: true, worstFrame: report.residual.worst_frame },
    { name: "mean", colour: "solved", values: data.series.mean, fill: true },
  ], "percent of the figure's height");
if (report.joint_step.solved)
  addPlot("Largest joint step", "°", [
    { name: "source", colour: "source", values: data.series.sourceStep },
    { name: "solved", colour: "solved", values: data.series.solvedStep, marked: true, worstFrame: report.joint_step.solved.frame },
  ], "largest turn of any joint since the frame before");
addPlot("Solve time", " µs", [
  { name: "a frame", colour: "solved", values: data.series.micros, marked: true, fill: true, worstFrame: report.solve_seconds.worst_frame },
], "the solver alone");
connect();
show(0);
setPlaying(!matchMedia("(prefers-reduced-motion: reduce)").matches);
