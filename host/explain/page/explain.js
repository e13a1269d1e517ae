'use strict';

// Fills the page from the data in it. Every text of the data goes into the page as text, never as markup.
const data = JSON.parse(document.getElementById('data').textContent);
const report = data.report;

const byId = (id) => document.getElementById(id);

/** Makes an element with a class, a text or children. */
function make(name, className, ...content) {
  const element = document.createElement(name);
  if (className) element.className = className;
  element.append(...content);
  return element;
}

/** A number for people: four digits that count, no needless zeros. */
function digits(value) {
  if (Number.isInteger(value)) return value.toLocaleString('en').replace('-', '\u2212');
  const text = Math.abs(value) >= 1e-4 && Math.abs(value) < 1e6 ? Number(value.toPrecision(4)).toString() : value.toExponential(2);
  return text.replace('-', '\u2212');
}

function percent(share) {
  const value = 100 * share;
  return `${value !== 0 && value < 0.01 ? '< 0.01' : digits(Number(value.toPrecision(2)))} %`;
}

/* ---- Before and after ---- */

const frame = document.querySelector('.frame');
const slider = byId('slider');

function showSlider() {
  frame.style.setProperty('--at', `${slider.value}%`);
  slider.setAttribute('aria-valuetext', `${Math.round(slider.value)} per cent before`);
}

function slideTo(event) {
  const box = frame.getBoundingClientRect();
  slider.value = (100 * (event.clientX - box.left)) / box.width;
  showSlider();
}

frame.addEventListener('pointerdown', (event) => {
  if (event.button !== 0) return;
  frame.setPointerCapture(event.pointerId);
  slider.focus({ preventScroll: true });
  slideTo(event);
  event.preventDefault();
});
frame.addEventListener('pointermove', (event) => {
  if (frame.hasPointerCapture(event.pointerId)) slideTo(event);
});
slider.addEventListener('input', showSlider);

/** Keys move the line by a fiftieth of the picture: the browser's own step is too small to see. */
slider.addEventListener('keydown', (event) => {
  const step = { ArrowLeft: -2, ArrowDown: -2, ArrowRight: 2, ArrowUp: 2, PageDown: -20, PageUp: 20 }[event.key];
  if (step === undefined) return;
  slider.value = Number(slider.value) + step;
  showSlider();
  event.preventDefault();
});

/* ---- Words ---- */

function fillHeader() {
  const name = report.input.path.split('/').pop();
  document.title = `${name} \u2013 Selvane`;
  byId('name').textContent = name;
  const size = `${report.input.width} \u00d7 ${report.input.height} pixels`;
  byId('summary').textContent =
    `${size}, ${report.input.samples}, ${digits(Number(report.scene.dynamic_range_stops.toFixed(1)))} stops from shadow to light. ${report.color.input}`;
  const stops = data.before_stops;
  const exposed =
    stops === 0
      ? 'Left: the file as it is.'
      : `Left: the same light as a camera would expose it: the logarithmic mean at middle grey, 18 % (${digits(Number(stops.toFixed(1)))} stops on the scale of the file), and what is brighter than white cut off.`;
  byId('compare-caption').textContent =
    `${exposed} Right: the render. Drag the line, or use the arrow keys. Both pictures are shown in sRGB, reduced to ${data.width} \u00d7 ${data.height}.`;
  byId('foot').textContent = `Made by selvane ${report.program.version} with libselvane ${report.program.library}. This page is one file and fetches nothing.`;
}

function fillWhy() {
  byId('why-lead').textContent = report.settings.suggested
    ? `The suggestion looked at ${report.suggestion.previews} small previews. These parts of its rule had a say:`
    : 'The settings stood as they were given. The suggestion was not asked.';
  byId('reasons').append(...report.reasons.map((reason) => make('li', '', reason)));
}

function fillCommand() {
  // Each word keeps together, as far as it fits.
  const words = report.command.split(' ').flatMap((word) => [make('span', 'word', word), ' ']);
  byId('command').append(...words.slice(0, -1));
  const button = byId('copy');
  button.hidden = !navigator.clipboard;
  button.addEventListener('click', async () => {
    await navigator.clipboard.writeText(report.command);
    button.textContent = 'Copied';
  });
}

function settingText(value) {
  if (value === undefined || value === null) return '';
  if (Array.isArray(value)) return value.length === 0 ? 'none' : value.map((point) => point.map(digits).join(':')).join(', ');
  return typeof value === 'number' ? digits(value) : String(value);
}

/** Whether a setting changes nothing. */
function isNeutral(value) {
  return value === 0 || value === false || value === 'measured' || (Array.isArray(value) && value.length === 0);
}

function fillSettings() {
  const { asked, suggested, used } = report.settings;
  const columns = {};
  if (suggested) columns['suits the picture'] = suggested;
  if (suggested && asked.automatic) columns['asked for'] = asked;
  columns.used = used;
  const names = Object.keys(used).filter((name) => name !== 'automatic' && Object.values(columns).some((some) => !isNeutral(some[name])));
  const how = asked.automatic
    ? 'What was asked for is added to what suits the picture. The sum, kept within its range, made the render. '
    : 'The settings stand as they were given. ';
  byId('settings-lead').textContent = how + (names.length === 0 ? 'All of them are neutral.' : 'What is not listed is neutral.');
  if (names.length === 0) return;
  const heads = ['', ...Object.keys(columns)].map((head) => make('th', head ? 'number' : '', head));
  const rows = names.map((name) => {
    const cells = Object.values(columns).map((some) => make('td', 'number', settingText(some[name])));
    const moved = suggested && JSON.stringify(suggested[name]) !== JSON.stringify(used[name]);
    return make('tr', moved ? 'moved' : '', make('th', '', name.replaceAll('_', ' ')), ...cells);
  });
  byId('settings').append(make('thead', '', make('tr', '', ...heads)), make('tbody', '', ...rows));
}

/** A row for each number of the report, with the meaning that its schema gives. */
function numberRow(value, schema) {
  const text = typeof value === 'number' ? digits(value) : Array.isArray(value) ? value.join('; ') || 'none' : String(value);
  const unit = schema.unit ? ` ${schema.unit}` : '';
  return make('tr', '', make('th', '', schema.title), make('td', 'number', text + unit), make('td', 'meaning', schema.description));
}

function fillNumbers() {
  for (const [name, schema] of Object.entries(data.schema.properties)) {
    const values = report[name];
    if (!schema.properties || name === 'settings' || values === null) continue;
    const rows = Object.entries(schema.properties).filter(([key]) => key in values);
    const table = make('table', '');
    table.append(make('tbody', '', ...rows.map(([key, part]) => numberRow(values[key], part))));
    byId('numbers').append(make('h3', '', schema.title), table);
  }
}

/* ---- Charts ---- */

const kSvg = 'http://www.w3.org/2000/svg';

function draw(parent, name, attributes, text) {
  const element = document.createElementNS(kSvg, name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  if (text !== undefined) element.textContent = text;
  parent.append(element);
  return element;
}

/** An empty chart over log10 luminance, as wide as its place, with marks at whole decades. */
function chart(place, height, axis, label, left = 12) {
  const width = Math.max(280, place.clientWidth);
  place.replaceChildren();
  const svg = draw(place, 'svg', { viewBox: `0 0 ${width} ${height}`, role: 'img', 'aria-label': label });
  const area = { left, right: width - 12, top: 26, bottom: height - 40 };
  const x = (log) => area.left + ((log - axis.from) / (axis.to - axis.from)) * (area.right - area.left);
  const decades = axis.to - axis.from;
  const step = decades > 12 ? 4 : decades > 6 && width < 500 ? 2 : decades < 1.5 ? 0.5 : 1;
  for (let log = Math.ceil(axis.from / step) * step; log <= axis.to + 1e-9; log += step) {
    draw(svg, 'line', { class: 'grid', x1: x(log), x2: x(log), y1: area.top, y2: area.bottom });
    if (x(log) > area.left - 1 && x(log) < area.right - 8)
      draw(svg, 'text', { x: x(log), y: area.bottom + 16, 'text-anchor': 'middle' }, digits(log));
  }
  draw(svg, 'text', { x: (area.left + area.right) / 2, y: height - 7, 'text-anchor': 'middle' }, label);
  return { svg, area, x, width };
}

function drawHistogram(place, histogram, label) {
  const { svg, area, x } = chart(place, 240, histogram, label);
  const most = Math.sqrt(Math.max(1, ...histogram.all));
  const tall = (count) => (Math.sqrt(count) / most) * (area.bottom - area.top);
  const columns = histogram.all.length;
  const at = (i) => x(histogram.from + ((histogram.to - histogram.from) * i) / columns);
  histogram.all.forEach((all, i) => {
    if (all === 0) return;
    const black = histogram.black[i];
    const dim = { x: at(i), width: Math.max(0.5, at(i + 1) - at(i) - 0.5) };
    const bar = (kind, from, to) => {
      if (to > from) draw(svg, 'rect', { class: kind, y: area.bottom - to, height: to - from, ...dim });
    };
    // The parts share out the height of the whole, so that the outline stays the histogram.
    const height = tall(all);
    const lower = (height * black) / all;
    const upper = height - (height * histogram.white[i]) / all;
    bar('bar bar-black', 0, lower);
    bar('bar', lower, upper);
    bar('bar bar-white', upper, height);
  });
  draw(svg, 'line', { class: 'grid', x1: area.left, x2: area.right, y1: area.bottom, y2: area.bottom });
  return { svg, area, x };
}

/** A vertical line with a word above it, on the side given if there is room. Nothing outside of the chart. */
function drawPoint({ svg, area, x }, log, word, side, kind = '') {
  if (log === null) return;
  const at = x(log);
  if (at < area.left || at > area.right) return;
  draw(svg, 'line', { class: `point ${kind}`, x1: at, x2: at, y1: area.top - 4, y2: area.bottom });
  const room = 8 * word.length;
  const anchor = side === 'end' ? (at - area.left > room ? 'end' : 'start') : area.right - at > room ? 'start' : 'end';
  draw(svg, 'text', { class: 'strong', x: at + (anchor === 'end' ? -4 : 4), y: area.top - 10, 'text-anchor': anchor }, word);
}

function drawHistograms() {
  drawHistogram(byId('scene-histogram'), data.scene, 'log10 of scene luminance');
  const mapped = drawHistogram(byId('mapped-histogram'), data.mapped, 'log10 of new luminance');
  drawPoint(mapped, data.mapped.black_point, 'black point', 'end');
  drawPoint(mapped, data.mapped.white_point, data.mapped.exposed_white === null ? 'white point' : '', 'start');
  drawPoint(mapped, data.mapped.exposed_white, 'white, exposed', 'start', 'point-exposed');
}

function captionHistograms() {
  const key = (kind, words) => make('span', '', make('span', `key key-${kind}`), words);
  const outside = data.scene.below + data.scene.above;
  byId('scene-caption').append(
    key('black', 'became black  '),
    key('white', 'became white.  '),
    outside > 0 ? `${outside.toLocaleString('en')} pixels lie outside of the axis.` : '',
  );
  const black = data.mapped.black_point;
  const offLeft = black === null || black < data.mapped.from;
  byId('mapped-caption').textContent =
    `The black and the white point stand on this scale${offLeft ? '; the black point lies left of what is shown' : ''}. ${percent(report.points.clipped_black)} of the pixels lie at or below the black point, ` +
    `${percent(report.points.clipped_white)} at or above the white point.` +
    (data.mapped.exposed_white === null ? '' : ' The exposure moves white to the dashed line.');
}

function drawCurve() {
  const curve = data.curve;
  const place = byId('curve');
  const { svg, area, x } = chart(place, 420, curve, 'log10 of scene luminance', 52);
  const y = (level) => area.bottom - (level / 255) * (area.bottom - area.top);
  for (const share of [0, 0.02, 0.18, 0.5, 1]) {
    const level = 255 * encode(share);
    draw(svg, 'line', { class: 'grid', x1: area.left, x2: area.right, y1: y(level), y2: y(level) });
    draw(svg, 'text', { x: area.left - 6, y: y(level) + 4, 'text-anchor': 'end' }, `${Math.round(100 * share)} %`);
  }
  draw(svg, 'text', { x: 6, y: area.top - 10 }, 'luminance of the display, in per cent of white');
  const middle = (i) => x(curve.from + ((curve.to - curve.from) * (i + 0.5)) / curve.count.length);
  for (const run of runsOf(curve)) {
    const band = (low, high) =>
      [...run.map((i) => [i, high[i]]), ...[...run].reverse().map((i) => [i, low[i]])]
        .map(([i, level]) => `${middle(i).toFixed(1)},${y(level).toFixed(1)}`)
        .join(' ');
    draw(svg, 'polygon', { class: 'band', points: band(curve.least, curve.most) });
    draw(svg, 'polygon', { class: 'band-inner', points: band(curve.lower, curve.upper) });
    draw(svg, 'polyline', { class: 'median', points: run.map((i) => `${middle(i)},${y(curve.median[i])}`).join(' ') });
  }
  const plain = curve.count.map((_, i) => {
    const log = curve.from + ((curve.to - curve.from) * (i + 0.5)) / curve.count.length;
    return `${middle(i)},${y(255 * encode(Math.min(1, 10 ** log * 2 ** data.before_stops)))}`;
  });
  draw(svg, 'polyline', { class: 'plain', points: plain.join(' ') });
}

/** The columns that have a spread, as runs of neighbours. */
function runsOf(curve) {
  const runs = [];
  curve.median.forEach((level, i) => {
    if (level === null) return;
    if (i === 0 || curve.median[i - 1] === null) runs.push([]);
    runs[runs.length - 1].push(i);
  });
  return runs;
}

/** The sample that sRGB gives to linear light. */
function encode(light) {
  return light <= 0.0031308 ? 12.92 * light : 1.055 * light ** (1 / 2.4) - 0.055;
}

function captionCurve() {
  const key = (kind, words) => make('span', '', make('span', `key key-${kind}`), words);
  byId('curve-caption').append(
    'Sampled from the render: for each luminance of the scene (below) the display luminance that its pixels got (left, spaced as the eye sees it). ',
    'The line is their median. ',
    key('inner', 'Half of the pixels '),
    'lie in the inner band, ',
    key('band', 'nine in ten '),
    `in the outer one. It is no single curve, because the render is local: the same light becomes brighter in a dark place than in a bright one. `,
    `Columns of fewer than ${data.few_pixels} pixels are left out. The dashed line is the plain exposure of the picture before.`,
  );
}

function captionLayers() {
  const decades = (layer) => `from ${digits(layer.from)} to ${digits(layer.to)}`;
  byId('base-caption').textContent = `Base: black to white is log10 luminance ${decades(data.base)}.`;
  byId('detail-caption').textContent = `Detail: middle grey is none; black to white is ${decades(data.detail)} decades.`;
}

function drawAll() {
  drawHistograms();
  drawCurve();
}

fillHeader();
fillWhy();
fillCommand();
fillSettings();
fillNumbers();
captionHistograms();
captionCurve();
captionLayers();
showSlider();
drawAll();
let drawnWidth = window.innerWidth;
window.addEventListener('resize', () => {
  if (window.innerWidth === drawnWidth) return;
  drawnWidth = window.innerWidth;
  drawAll();
});
