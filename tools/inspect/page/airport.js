// SPDX-License-Identifier: MIT
const data = JSON.parse(document.getElementById('data').textContent);
const byId = id => document.getElementById(id);
const svgName = 'http://www.w3.org/2000/svg';
const days = ['Monday', 'Tuesday', 'Wednesday', 'Thursday', 'Friday', 'Saturday', 'Sunday'];
const metresPerDegree = 1852 * 60;

function add(parent, name, attributes, text) {
  const node = document.createElementNS(svgName, name);
  for (const key in attributes) node.setAttribute(key, attributes[key]);
  if (text !== undefined) node.textContent = text;
  parent.appendChild(node);
  return node;
}

// Metres east and south of the middle stand.
const middle = list => list.slice().sort((a, b) => a - b)[list.length >> 1] ?? 0;
const lat0 = middle(data.stands.map(s => s.latitude)), lon0 = middle(data.stands.map(s => s.longitude));
const squeeze = Math.cos(lat0 * Math.PI / 180);
const away = s => ((s.longitude - lon0 + 540) % 360) - 180;
const places = data.stands.map(s => ({x: away(s) * metresPerDegree * squeeze, y: (lat0 - s.latitude) * metresPerDegree}));

const map = byId('map'), standLayer = add(map, 'g', {}), nearLayer = add(map, 'g', {});
const kind = s => s.heli ? 'heli' : s.cargo ? 'cargo' : s.ramp ? 'ramp' : 'gate';
const nodes = data.stands.map((s, i) => {
  const {x, y} = places[i], r = Math.max(s.radius, 3), turn = s.heading * Math.PI / 180;
  const g = add(standLayer, 'g', {class: kind(s)});
  add(g, 'circle', {cx: x, cy: y, r});
  add(g, 'line', {x1: x, y1: y, x2: x + Math.sin(turn) * r, y2: y - Math.cos(turn) * r});
  const size = Math.min(r * 0.45, 1.7 * r / Math.max(s.id.length, 2));
  add(g, 'text', {x, y: y - r * 0.12, 'font-size': size}, s.id);
  const who = add(g, 'text', {x, y: y + r * 0.5, 'font-size': r * 0.28, class: 'who'}, '');
  g.addEventListener('click', () => choose(i));
  return {g, who};
});
// A small stand lies on top of the great one that shares its place.
nodes.map((node, i) => i).sort((a, b) => data.stands[b].radius - data.stands[a].radius)
    .forEach(i => standLayer.appendChild(nodes[i].g));
const bySid = new Map(data.stands.map((s, i) => [s.sid, i]));
data.stands.forEach((s, i) => s.adjacent.forEach(sid => {
  const k = bySid.get(sid);
  if (k > i) add(nearLayer, 'line', {class: 'near', x1: places[i].x, y1: places[i].y, x2: places[k].x, y2: places[k].y});
}));

let day = data.day, hour = data.halfHour, chosen = -1;
const clockOf = h => `${String(h >> 1).padStart(2, '0')}:${h % 2 ? '30' : '00'}`;
// "05:00-07:30" for half-hours in a row.
const ranges = list => list.filter(h => !list.includes(h - 1)).map(from => {
  let to = from + 1;
  while (list.includes(to)) ++to;
  return `${clockOf(from)}-${clockOf(to)}`;
}).join(', ');
const usesNow = s => s.options
    .filter(o => (byId('week').checked || o.day === day) && o.halfHours.includes(hour))
    .sort((a, b) => b.real - a.real);

function show() {
  let taken = 0;
  data.stands.forEach((s, i) => {
    const uses = usesNow(s), node = nodes[i];
    taken += uses.length > 0;
    node.g.classList.toggle('taken', uses.length > 0);
    node.g.classList.toggle('isreal', uses.length > 0 && uses[0].real);
    node.g.classList.toggle('chosen', i === chosen);
    node.who.textContent = uses.length ? `${uses[0].airline} ${uses[0].model}${uses.length > 1 ? ' +' + (uses.length - 1) : ''}` : '';
  });
  byId('clock').textContent = `${clockOf(hour)} UTC`;
  byId('parked').textContent = `${taken} of ${data.stands.length} stands in use`;
  nearLayer.style.display = byId('lines').checked ? '' : 'none';
  detail();
}

function choose(i) {
  chosen = i;
  show();
}

function detail() {
  if (chosen < 0) return;
  const s = data.stands[chosen], box = byId('detail');
  box.className = '';
  box.textContent = '';
  const line = (tag, text) => {
    const node = document.createElement(tag);
    node.textContent = text;
    box.appendChild(node);
    return node;
  };
  line('h3', s.id);
  const marks = ['manual', 'radiusChange', 'cargoChange'].filter(m => s[m]);
  line('p', `${kind(s)}, radius ${s.radius} m, heading ${s.heading}°` + (marks.length ? `, ${marks.join(', ')}` : ''));
  line('p', 'Neighbours: ' + (s.adjacent.map(sid => data.stands[bySid.get(sid)].id).join(', ') || 'none'));
  const table = line('table', '');
  for (const o of s.options) {
    const row = table.insertRow();
    const hours = ranges(o.halfHours);
    for (const text of [`${o.airline} ${o.model}`, o.regcode ?? '', days[o.day - 1]?.slice(0, 2) ?? '', hours,
                        `${o.real ? 'real' : 'soft'}${o.base ? '' : ', learned'}`])
      row.insertCell().textContent = text;
  }
  if (!s.options.length) line('p', 'Nothing is known of its use.');
}

// The view in metres; the wheel zooms about the pointer, dragging moves.
const xs = places.map(p => p.x), ys = places.map(p => p.y);
// A few stands far off must not make the others too small to see.
const most = (list, part) => list.slice().sort((a, b) => a - b)[Math.min(list.length - 1, Math.floor(list.length * part))] ?? 0;
const edge = 60, view = {x: most(xs, 0.005) - edge, y: most(ys, 0.005) - edge};
view.w = Math.max(most(xs, 0.995) + edge - view.x, 150);
view.h = Math.max(most(ys, 0.995) + edge - view.y, 150);
const setView = () => map.setAttribute('viewBox', `${view.x} ${view.y} ${view.w} ${view.h}`);
const scale = () => Math.max(view.w / map.clientWidth, view.h / map.clientHeight);
map.addEventListener('wheel', e => {
  e.preventDefault();
  const by = Math.exp(e.deltaY * 0.0015), box = map.getBoundingClientRect(), k = scale();
  const px = view.x + view.w / 2 + (e.clientX - box.left - box.width / 2) * k;
  const py = view.y + view.h / 2 + (e.clientY - box.top - box.height / 2) * k;
  view.x = px + (view.x - px) * by;
  view.y = py + (view.y - py) * by;
  view.w *= by;
  view.h *= by;
  setView();
}, {passive: false});
map.addEventListener('pointermove', e => {
  if (!(e.buttons & 1)) return;
  view.x -= e.movementX * scale();
  view.y -= e.movementY * scale();
  setView();
});

byId('title').textContent = `${data.code} ${data.name}`;
document.title = `${data.code} stands`;
const qualityPart = data.quality.real < 0 ? 'no quality' : `quality ${data.quality.real}/${data.quality.soft}`;
byId('summary').textContent = `${data.publisher}, ${data.totals.stands} stands, ${data.totals.options} options, ` +
    `${qualityPart}${data.handmade ? ', handmade' : ''}`;
days.forEach((name, i) => byId('day').add(new Option(name, i + 1)));
byId('day').value = day;
byId('hour').value = hour;
byId('day').addEventListener('input', e => { day = +e.target.value; show(); });
byId('hour').addEventListener('input', e => { hour = +e.target.value; show(); });
for (const id of ['week', 'lines']) byId(id).addEventListener('input', show);
for (const text of (data.error ? [data.error] : []).concat(data.warnings)) {
  const item = document.createElement('li');
  item.textContent = text;
  byId('warnings').appendChild(item);
}
// "#247" at the end of the address leads to that stand, also when it is typed later on. An id with a '%' may stand there
// as it is.
function followAddress() {
  const text = location.hash.slice(1);
  let id = text;
  try { id = decodeURIComponent(text); } catch {}
  const i = data.stands.findIndex(s => s.id === id || s.id === text);
  if (i < 0) return;
  Object.assign(view, {x: places[i].x - 150, y: places[i].y - 110, w: 300, h: 220});
  setView();
  choose(i);
}
window.addEventListener('hashchange', followAddress);
setView();
show();
followAddress();
