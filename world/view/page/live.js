// SPDX-License-Identifier: MIT
// The live page: keeps what the stream of events tells of each aircraft, and draws it sixty times a second.
(() => {
  const METRES_PER_NM = 1852;
  const SAMPLE_MS = 200; // the pace of the stream
  const TRAIL_MS = 90000;
  const SPAN_METRES = 36; // drawn, of whatever type: the page knows no spans
  const USER = 1;
  const STEPS = ['', 'its registration is known', 'livery of the airline and type', 'livery of the airline, similar type',
    'generic livery of the type', 'the type under another airline', 'a similar type under another airline'];
  const LIGHTS = [[1, 'nav'], [2, 'beacon'], [4, 'landing'], [8, 'taxi'], [16, 'strobe'], [256, 'logo']];
  const COLOURS = { user: '#ff7ab8', ground: '#8ce09c', rest: '#c8d0d8', fixed: '#77818c' };

  const $ = id => document.getElementById(id);
  const canvas = $('map');
  let pen = canvas.getContext('2d');
  const objects = new Map(); // by id
  const reasons = new Map(); // by callsign or registration, of the log
  let origin = null; // {lat, lon}: where east and north are 0
  let view = { east: 0, north: 0, scale: 0.02 }; // the middle in metres, pixels a metre
  let selected = 0;
  let touched = false; // the user has chosen a view
  let width = 0;
  let height = 0;

  // ---- the world in metres

  function metres(lat, lon) {
    const perDegree = 60 * METRES_PER_NM;
    return {
      east: (lon - origin.lon) * perDegree * Math.cos(origin.lat * Math.PI / 180),
      north: (lat - origin.lat) * perDegree,
    };
  }
  const toX = east => width / 2 + (east - view.east) * view.scale;
  const toY = north => height / 2 - (north - view.north) * view.scale;
  const distance = (a, b) => Math.hypot(a.east - b.east, a.north - b.north);

  let stands = [];
  function placeStands() {
    ++stillCount;
    stands = start.stands.map(s => ({ ...metres(s.lat, s.lon), id: s.id, radius: s.radius, heading: s.heading, held: null }));
  }

  // ---- what the stream tells

  function take(message) {
    const now = performance.now();
    if (message.gone || message.new) ++stillCount;
    for (const id of message.gone || []) {
      objects.delete(id);
      if (id === selected) select(0);
    }
    for (const o of message.new || []) {
      const isStatic = o.tail.endsWith('*');
      objects.set(o.id, {
        id: o.id, title: o.title, model: o.model, fixed: isStatic, name: o.id === USER ? 'You' : o.tail.replace(/\*$/, ''),
        trail: [], speed: 0, restSince: now,
      });
    }
    for (const [id, lat, lon, alt, above, heading, speed, climb, lights] of message.move || []) {
      const o = objects.get(id);
      if (!o) continue;
      if (!origin) {
        origin = { lat, lon };
        placeStands();
      }
      if (o.fixed) ++stillCount;
      const at = metres(lat, lon);
      o.from = o.to ? shown(o, now) : { ...at, heading };
      o.to = { ...at, heading };
      o.since = now;
      Object.assign(o, { alt, above, speed, climb, lights });
      if (Math.abs(speed) > 0.5) o.restSince = now;
      const last = o.trail[o.trail.length - 1];
      if (!o.fixed && (!last || now - last.when > 1000)) o.trail.push({ ...at, when: now });
    }
    for (const w of message.why || []) {
      for (const word of w.label.split(' ').slice(0, 2)) reasons.set(word, w);
    }
  }

  /// Where an object is on the way from one sample to the next.
  function shown(o, now) {
    const part = Math.min((now - o.since) / SAMPLE_MS, 1.5);
    const turn = ((o.to.heading - o.from.heading + 540) % 360) - 180;
    return {
      east: o.from.east + (o.to.east - o.from.east) * part,
      north: o.from.north + (o.to.north - o.from.north) * part,
      heading: o.from.heading + turn * part,
    };
  }

  // Heights are of the reference point, which stands up to 16 feet above the ground.
  const inAir = o => o.above > 50 || (o.above > 16 && Math.abs(o.speed) > 60);
  function colourOf(o) {
    if (o.id === USER) return COLOURS.user;
    if (o.fixed) return COLOURS.fixed;
    if (inAir(o)) {
      const high = Math.min(o.above / 20000, 1);
      const mix = (a, b) => Math.round(a + (b - a) * high);
      return `rgb(${mix(255, 153)},${mix(209, 204)},${mix(102, 255)})`;
    }
    return Math.abs(o.speed) > 0.5 ? COLOURS.ground : COLOURS.rest;
  }
  const phaseOf = o => o.fixed ? 'static' : inAir(o) ? 'air' : Math.abs(o.speed) > 0.5 ? 'taxi' : 'rest';

  function heightText(o) {
    if (!inAir(o)) return 'on the ground';
    return o.alt >= 10000 ? `FL${String(Math.round(o.alt / 100)).padStart(3, '0')}` : `${Math.round(o.alt / 10) * 10} ft`;
  }

  // ---- drawing

  const shape = new Path2D('M0-18c1.6 0 2.6 3 2.6 6v6L18 5v4L2.6 4.500V11l5 4v3L0 16l-7.600 2v-3l5-4V4.500L-18 9V5L-2.600-6v-6c0-3 1-6 2.600-6z');

  /// A picture that is kept from frame to frame until its key changes. One that `glides` is moved along with the view.
  function layer(paint, glides) {
    const sheet = document.createElement('canvas');
    let last = '';
    let drawn = { east: 0, north: 0 };
    return (key, now) => {
      const place = glides ? '' : `${view.east},${view.north}`;
      const whole = [place, view.scale, width, height, canvas.width, key].join();
      if (whole !== last) {
        last = whole;
        drawn = { ...view };
        sheet.width = canvas.width;
        sheet.height = canvas.height;
        const onScreen = pen;
        pen = sheet.getContext('2d');
        pen.setTransform(canvas.width / width, 0, 0, canvas.height / height, 0, 0);
        paint(now);
        pen = onScreen;
      }
      pen.drawImage(sheet, (drawn.east - view.east) * view.scale, (view.north - drawn.north) * view.scale, width, height);
    };
  }

  // Stands and what stands on them: hundreds, and hardly ever another picture.
  let stillCount = 0; // of changes of what is on it
  const drawStill = layer(now => {
    drawStands();
    for (const o of objects.values()) if (o.to && o.fixed) drawAircraft(o, now);
  }, false);
  const drawTrails = layer(paintTrails, true);

  // Where a label stands already, in cells of the size of one.
  const labelled = new Set();
  function hasRoom(x, y) {
    const cell = Math.floor(x / 72) * 4096 + Math.floor(y / 28);
    if (labelled.has(cell)) return false;
    labelled.add(cell);
    return true;
  }

  function drawRings() {
    const user = objects.get(USER);
    if (!user || !user.to) return;
    const widest = Math.hypot(width, height) / view.scale / METRES_PER_NM;
    const step = [0.5, 1, 2, 5, 10, 20, 50].find(s => widest / s < 12) || 100;
    pen.strokeStyle = 'rgba(153,204,255,.10)';
    pen.fillStyle = 'rgba(153,204,255,.45)';
    pen.font = '11px system-ui';
    pen.lineWidth = 1;
    for (let n = 1; n <= 12; ++n) {
      const r = n * step * METRES_PER_NM * view.scale;
      pen.beginPath();
      pen.arc(toX(user.to.east), toY(user.to.north), r, 0, 2 * Math.PI);
      pen.stroke();
      pen.fillText(`${n * step} nm`, toX(user.to.east) + 4, toY(user.to.north) - r - 3);
    }
  }

  function drawStands() {
    if (view.scale < 0.03) {
      if (stands.length) drawField();
      return;
    }
    pen.lineWidth = 1;
    pen.textAlign = 'center';
    for (const s of stands) {
      const x = toX(s.east);
      const y = toY(s.north);
      const r = Math.max(s.radius * view.scale, 1.5);
      if (x < -r || y < -r || x > width + r || y > height + r) continue;
      pen.beginPath();
      pen.arc(x, y, r, 0, 2 * Math.PI);
      if (s.held) {
        pen.fillStyle = s.held.fixed ? 'rgba(119,129,140,.28)' : 'rgba(140,224,156,.28)';
        pen.fill();
      }
      pen.strokeStyle = 'rgba(120,145,170,.55)';
      pen.stroke();
      pen.beginPath();
      pen.moveTo(x, y);
      pen.lineTo(x + Math.sin(s.heading) * r, y - Math.cos(s.heading) * r);
      pen.stroke();
      if (r > 14) {
        pen.fillStyle = 'rgba(154,167,180,.9)';
        pen.font = `${Math.min(12, r * 0.55)}px system-ui`;
        pen.fillText(s.id, x, y + r + Math.min(12, r * 0.55));
      }
    }
    pen.textAlign = 'left';
  }

  function drawField() {
    const middle = stands.reduce((m, s) => ({ east: m.east + s.east / stands.length, north: m.north + s.north / stands.length }),
      { east: 0, north: 0 });
    pen.fillStyle = 'rgba(153,204,255,.8)';
    pen.font = '600 12px system-ui';
    pen.fillRect(toX(middle.east) - 3, toY(middle.north) - 3, 6, 6);
    pen.fillText(start.place, toX(middle.east) + 8, toY(middle.north) + 4);
  }

  function paintTrails(now) {
    pen.lineWidth = 1.5;
    for (const o of objects.values()) {
      while (o.trail.length && now - o.trail[0].when > TRAIL_MS) o.trail.shift();
      if (o.trail.length < 2 || !o.to) continue;
      pen.strokeStyle = colourOf(o);
      pen.globalAlpha = o.id === selected ? 0.9 : 0.35;
      pen.beginPath();
      for (const p of o.trail) pen.lineTo(toX(p.east), toY(p.north));
      const at = shown(o, now);
      pen.lineTo(toX(at.east), toY(at.north));
      pen.stroke();
    }
    pen.globalAlpha = 1;
  }

  function drawAircraft(o, now) {
    const at = shown(o, now);
    const x = toX(at.east);
    const y = toY(at.north);
    if (x < -60 || y < -60 || x > width + 60 || y > height + 60) return;
    const least = o.fixed ? 5 : phaseOf(o) === 'rest' ? 9 : 15;
    const size = Math.max(SPAN_METRES * view.scale, least);
    if (o.id === selected) {
      pen.strokeStyle = '#ffffff';
      pen.lineWidth = 1.5;
      pen.beginPath();
      pen.arc(x, y, size * 0.75 + 4, 0, 2 * Math.PI);
      pen.stroke();
    }
    pen.save();
    pen.translate(x, y);
    pen.rotate(at.heading * Math.PI / 180);
    pen.scale(size / 36, size / 36);
    pen.fillStyle = colourOf(o);
    pen.fill(shape);
    pen.restore();
    // From afar the names of a whole airport would lie on one another.
    const named = o.id === selected || (o.fixed || phaseOf(o) === 'rest' ? view.scale > 0.5 : inAir(o) || view.scale > 0.05);
    if (!named) return;
    pen.font = o.id === selected ? '600 12px system-ui' : '11px system-ui';
    pen.fillStyle = o.fixed ? '#8d98a4' : '#e8edf2';
    if (o.fixed || phaseOf(o) === 'rest') { // neighbours stand to both sides
      pen.textAlign = 'center';
      pen.fillText(o.name, x, y - size * 0.6 - 3);
      pen.textAlign = 'left';
      return;
    }
    if (o.id !== selected && !hasRoom(x, y)) return;
    pen.fillText(o.name, x + size / 2 + 4, y);
    pen.fillStyle = '#9aa7b4';
    const arrow = o.climb > 200 ? ' \u2191' : o.climb < -200 ? ' \u2193' : '';
    pen.fillText(`${inAir(o) ? heightText(o) + arrow + ' ' : ''}${Math.round(Math.abs(o.speed))} kt`, x + size / 2 + 4, y + 13);
  }

  function frame(now) {
    resize();
    pen.clearRect(0, 0, width, height);
    if (origin) {
      const o = objects.get(selected);
      if (o && o.to && $('follow').checked) {
        const at = shown(o, now);
        view.east += (at.east - view.east) * 0.15;
        view.north += (at.north - view.north) * 0.15;
      }
      drawRings();
      drawStill(stillCount, now);
      drawTrails(`${Math.floor(now / 500)},${selected}`, now);
      labelled.clear();
      // What moves lies above what stands, and what is chosen above its own picture among them.
      for (const each of objects.values()) if (each.to && (!each.fixed || each.id === selected)) drawAircraft(each, now);
    }
    requestAnimationFrame(frame);
  }

  function resize() {
    const ratio = window.devicePixelRatio || 1;
    if (width === innerWidth && height === innerHeight && canvas.width === Math.round(innerWidth * ratio)) return;
    width = innerWidth;
    height = innerHeight;
    canvas.width = Math.round(width * ratio);
    canvas.height = Math.round(height * ratio);
    pen.setTransform(ratio, 0, 0, ratio, 0, 0);
  }

  // ---- the panels, twice a second

  function holdStands() {
    const before = stands.map(s => s.held);
    for (const s of stands) s.held = null;
    for (const o of objects.values()) {
      o.stand = null;
      if (!o.to || o.id === USER || inAir(o) || Math.abs(o.speed) > 0.5) continue;
      let best = 25;
      for (const s of stands) {
        if (Math.abs(s.east - o.to.east) > best) continue;
        const d = distance(s, o.to);
        if (d < best) [best, o.stand] = [d, s];
      }
      if (o.stand) o.stand.held = o;
    }
    if (stands.some((s, i) => s.held !== before[i])) ++stillCount;
  }

  /// A text that is set again is laid out again.
  function write(node, text) {
    if (node.textContent !== text) node.textContent = text;
  }

  function facts(list, pairs) {
    if (list.children.length === pairs.length * 2) {
      pairs.forEach(([name, value], i) => {
        write(list.children[2 * i], name);
        write(list.children[2 * i + 1], String(value));
      });
      return;
    }
    list.replaceChildren(...pairs.flatMap(([name, value]) => {
      const dt = document.createElement('dt');
      const dd = document.createElement('dd');
      dt.textContent = name;
      dd.textContent = value;
      return [dt, dd];
    }));
  }

  function showCounts() {
    const count = { air: 0, taxi: 0, rest: 0, static: 0 };
    for (const o of objects.values()) if (o.id !== USER && o.to) ++count[phaseOf(o)];
    facts($('counts'), [['in the air', count.air], ['taxiing', count.taxi], ['at rest', count.rest], ['static', count.static],
      ['stands', stands.length ? `${stands.filter(s => s.held).length} of ${stands.length}` : '-']]);
  }

  const rows = new Map(); // by id
  function showList() {
    const user = objects.get(USER);
    const wanted = $('search').value.trim().toLowerCase();
    const found = [...objects.values()].filter(o => o.to && o.id !== USER &&
      (wanted ? `${o.name} ${o.model} ${o.title}`.toLowerCase().includes(wanted) : !o.fixed));
    for (const o of found) o.nm = user && user.to ? distance(o.to, user.to) / METRES_PER_NM : 0;
    found.sort((a, b) => a.nm - b.nm);
    const kept = found.slice(0, 200);
    const ids = new Set(kept.map(o => o.id));
    for (const [id, row] of rows) {
      if (ids.has(id)) continue;
      row.remove();
      rows.delete(id);
    }
    kept.forEach((o, place) => {
      let row = rows.get(o.id);
      if (!row) {
        row = document.createElement('li');
        row.innerHTML = '<button><i></i><b></b><span></span><small></small></button>';
        row.firstChild.onclick = () => select(o.id);
        rows.set(o.id, row);
      }
      const [dot, name, state, title] = row.firstChild.children;
      const colour = colourOf(o);
      if (row.colour !== colour) dot.style.setProperty('--c', row.colour = colour);
      write(name, o.name);
      write(state, o.stand ? `stand ${o.stand.id}` : inAir(o) ? heightText(o) : `${Math.round(Math.abs(o.speed))} kt`);
      write(title, o.title);
      row.firstChild.setAttribute('aria-pressed', o.id === selected);
      // Only what is out of place is moved, or the row that has the focus would lose it.
      if ($('list').children[place] !== row) $('list').insertBefore(row, $('list').children[place] || null);
    });
    $('none').hidden = kept.length > 0;
  }

  function showCard() {
    const o = objects.get(selected);
    $('card').hidden = !o || !o.to;
    if ($('card').hidden) return;
    const why = reasons.get(o.name);
    const user = objects.get(USER);
    $('cardName').textContent = o.name;
    $('cardTitle').textContent = o.title;
    $('cardWhy').textContent = why ? `${STEPS[why.step]} (step ${why.step}): ${why.label}` : '';
    facts($('cardFacts'), [
      ['height', inAir(o) ? `${heightText(o)}, ${Math.round(o.above)} ft above ground` : 'on the ground'],
      ['speed', `${Math.round(Math.abs(o.speed))} kt${o.speed < -0.5 ? ', backwards' : ''}`],
      ['climb', `${Math.round(o.climb / 50) * 50} ft/min`],
      ['heading', `${String(Math.round((o.to.heading + 360) % 360)).padStart(3, '0')}\u00b0`],
      ['from you', user && user.to ? `${(distance(o.to, user.to) / METRES_PER_NM).toFixed(1)} nm` : '-'],
      ['stand', o.stand ? o.stand.id : '-'],
      ['lights', LIGHTS.filter(([bit]) => o.lights & bit).map(([, name]) => name).join(', ') || 'off'],
    ]);
  }

  function select(id) {
    selected = id;
    $('follow').checked = true;
    showCard();
    showList();
  }

  // ---- the view

  function fit(points, least) {
    if (!points.length) return;
    const east = points.map(p => p.east);
    const north = points.map(p => p.north);
    const span = Math.max(Math.max(...east) - Math.min(...east), (Math.max(...north) - Math.min(...north)) * width / height, least);
    view = {
      east: (Math.max(...east) + Math.min(...east)) / 2, north: (Math.max(...north) + Math.min(...north)) / 2,
      scale: width / (span * 1.25),
    };
    if (selected) $('follow').checked = false;
    touched = true;
  }
  const toAirport = () => fit(stands, 500);
  const toAll = () => fit([...objects.values()].filter(o => o.to && !o.fixed).map(o => o.to), 5000);
  const toUser = () => fit([objects.get(USER)].filter(o => o && o.to).map(o => o.to), 6000);

  function zoom(factor, x = width / 2, y = height / 2) {
    const scale = Math.min(Math.max(view.scale * factor, 0.0005), 20);
    view.east += (x - width / 2) * (1 / view.scale - 1 / scale);
    view.north -= (y - height / 2) * (1 / view.scale - 1 / scale);
    view.scale = scale;
    touched = true;
  }
  function move(dx, dy) {
    view.east -= dx / view.scale;
    view.north += dy / view.scale;
    if (selected) $('follow').checked = false;
    touched = true;
  }

  function pick(x, y) {
    const now = performance.now();
    let best = 22;
    let found = 0;
    for (const o of objects.values()) {
      if (!o.to || o.id === USER) continue;
      const at = shown(o, now);
      const d = Math.hypot(toX(at.east) - x, toY(at.north) - y) + (o.fixed ? 6 : 0);
      if (d < best) [best, found] = [d, o.id];
    }
    select(found);
  }

  const pointers = new Map();
  let moved = 0;
  canvas.addEventListener('pointerdown', e => {
    canvas.setPointerCapture(e.pointerId);
    pointers.set(e.pointerId, { x: e.clientX, y: e.clientY });
    if (pointers.size === 1) moved = 0;
  });
  canvas.addEventListener('pointermove', e => {
    const old = pointers.get(e.pointerId);
    if (!old) return;
    const other = [...pointers].find(([id]) => id !== e.pointerId);
    if (other) {
      const before = Math.hypot(old.x - other[1].x, old.y - other[1].y);
      const after = Math.hypot(e.clientX - other[1].x, e.clientY - other[1].y);
      if (before > 0) zoom(after / before, (e.clientX + other[1].x) / 2, (e.clientY + other[1].y) / 2);
      moved = 99;
    } else {
      moved += Math.abs(e.clientX - old.x) + Math.abs(e.clientY - old.y);
      if (moved > 4) move(e.clientX - old.x, e.clientY - old.y);
    }
    pointers.set(e.pointerId, { x: e.clientX, y: e.clientY });
  });
  for (const end of ['pointerup', 'pointercancel']) {
    canvas.addEventListener(end, e => {
      if (end === 'pointerup' && pointers.size === 1 && moved <= 4) pick(e.clientX, e.clientY);
      pointers.delete(e.pointerId);
    });
  }
  canvas.addEventListener('wheel', e => {
    e.preventDefault();
    zoom(Math.exp(-e.deltaY * 0.0015), e.clientX, e.clientY);
  }, { passive: false });

  const keys = {
    '+': () => zoom(1.4), '=': () => zoom(1.4), '-': () => zoom(1 / 1.4), a: toAirport, u: toUser, 0: toAll,
    Escape: () => select(0), ArrowLeft: () => move(80, 0), ArrowRight: () => move(-80, 0), ArrowUp: () => move(0, 80),
    ArrowDown: () => move(0, -80),
  };
  addEventListener('keydown', e => {
    if (e.target.id === 'search' || e.ctrlKey || e.altKey || e.metaKey) return;
    const act = keys[e.key];
    if (act) {
      act();
      e.preventDefault();
    }
  });
  for (const [id, act] of [['toAirport', toAirport], ['toUser', toUser], ['toAll', toAll], ['closer', () => zoom(1.4)],
    ['farther', () => zoom(1 / 1.4)], ['cardClose', () => select(0)]]) $(id).onclick = act;
  $('search').oninput = showList;
  $('place').textContent = start.place;
  $('toAirport').hidden = start.stands.length === 0;
  if (innerWidth < 900) $('panel').open = false;

  // ---- life

  function firstView() {
    if (touched || !origin) return;
    if (stands.length) toAirport();
    else toAll();
    touched = false;
    if (objects.size > 1) touched = true;
  }

  const stream = new EventSource('/events');
  stream.onopen = () => {
    objects.clear(); // a new stream tells everything anew
    rows.forEach(row => row.remove());
    rows.clear();
  };
  stream.onmessage = e => {
    take(JSON.parse(e.data));
    $('link').textContent = `live, ${new Date().toISOString().slice(11, 19)} UTC`;
    $('link').classList.remove('lost');
    if (rows.size === 0) refresh(); // the first message is not kept waiting
  };
  stream.onerror = () => {
    $('link').textContent = 'the simulator is gone, trying again ...';
    $('link').classList.add('lost');
  };
  function refresh() {
    holdStands();
    firstView();
    showCounts();
    showList();
    showCard();
  }
  setInterval(refresh, 500);
  requestAnimationFrame(frame);
})();
