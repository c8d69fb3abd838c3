// SPDX-License-Identifier: MIT
// ---- one drawing per frame at most ----
let wanted = false, lastFrame = 0;
function redraw() {
    if (!wanted) {
        wanted = true;
        requestAnimationFrame(frame);
    }
}
function frame(now) {
    wanted = false;
    if (state.playing) {
        state.t = Math.min(end, state.t + Math.max(0, Math.min(0.25, (now - lastFrame) / 1000)) * state.speed);
        lastFrame = now;
        if (state.t >= end)
            play(false);
        redraw();
    }
    paint();
}
function paint() {
    const pose = state.follow && state.chosen && poseAt(state.chosen.shown, state.t);
    if (pose)
        view.x = pose.x, view.y = pose.y;
    drawMap();
    if (state.chosen) {
        drawProfile();
        readOut();
    }
    $('clock').textContent = clockText(state.t);
    if (data.epoch)
        $('utc').textContent = new Date((data.epoch + state.t) * 1000).toISOString().slice(11, 19) + ' UTC';
    $('slider').value = state.t;
    refreshList();
}

// ---- list ----
function drawRow(a) {
    const row = document.createElement('li');
    const parts = ['i', 'b', 'em', 'small'].map(kind => row.appendChild(document.createElement(kind)));
    parts[1].textContent = a.callsign;
    parts[3].textContent = a.model;
    row.title = a.model;
    row.tabIndex = 0;
    row.setAttribute('role', 'button');
    row.addEventListener('click', () => choose(a, true));
    row.addEventListener('keydown', event => rowKey(event, a));
    a.row = {row, dot: parts[0], where: parts[2], mark: -2, text: ''};
    return row;
}
function rowKey(event, a) {
    const step = {ArrowDown: 'nextElementSibling', ArrowUp: 'previousElementSibling'}[event.key];
    if (event.key === 'Enter' || event.key === ' ') {
        choose(a, true);
    } else if (step) {
        let row = a.row.row[step];
        while (row && row.hidden)
            row = row[step];
        row?.focus();
    } else {
        return;
    }
    event.preventDefault();
    event.stopPropagation();
}
let listedAt = -Infinity;
function refreshList() {
    const now = performance.now();
    // Texts that change more often than this cannot be read.
    if (state.playing && now - listedAt < 300)
        return;
    listedAt = now;
    for (const a of aircraft) {
        const pose = poseAt(a.shown, state.t), mark = pose ? pose.mark : -1;
        if (mark !== a.row.mark) {
            a.row.mark = mark;
            a.row.row.classList.toggle('absent', !pose);
            a.row.dot.style.background = pose ? phaseColour(mark) : '';
            a.row.dot.title = pose ? phaseName(mark) : '';
        }
        const text = pose ? `${(Math.round(pose.alt / 10) * 10).toLocaleString('en')} ft` : '';
        if (text !== a.row.text)
            a.row.where.textContent = a.row.text = text;
    }
}
function filterList() {
    const words = $('filter').value.toLowerCase().split(/\s+/);
    for (const a of aircraft) {
        const text = `${a.callsign} ${a.model}`.toLowerCase();
        a.row.row.hidden = !words.every(word => text.includes(word));
    }
}
function choose(a, bring) {
    state.chosen = a;
    state.over = null;
    for (const one of aircraft)
        one.row.row.classList.toggle('chosen', one === a);
    $('detail').hidden = !a;
    setFollow(!!a);
    if (a) {
        $('name').textContent = a.callsign;
        $('model').textContent = $('model').title = a.model;
        Object.assign(profile, profileWhole(a));
        a.row.row.scrollIntoView({block: 'nearest'});
        if (bring && a.shown.n && !poseAt(a.shown, state.t))
            state.t = nearestTime(a.shown, state.t);
    }
    redraw();
    noteAddress();
}

// ---- time ----
function play(on) {
    state.playing = on && end > begin;
    if (state.playing && state.t >= end)
        state.t = begin;
    lastFrame = performance.now();
    $('playshape').setAttribute('d', state.playing ? 'M3 1h3v12H3zM8 1h3v12H8z' : 'M3 1l9 6-9 6z');
    $('play').setAttribute('aria-label', state.playing ? 'Pause' : 'Play');
    redraw();
    noteAddress();
}
function seek(t) {
    state.t = Math.min(end, Math.max(begin, t));
    redraw();
    noteAddress();
}
function setFollow(on) {
    state.follow = on;
    $('follow').disabled = !state.chosen;
    $('follow').setAttribute('aria-pressed', on);
}
function choice(box, key, options) {
    const buttons = options.map(([value, text]) => {
        const button = $(box).appendChild(document.createElement('button'));
        button.textContent = text;
        button.addEventListener('click', () => pick(value));
        return button;
    });
    const pick = value => {
        state[key] = value;
        buttons.forEach((button, i) => button.setAttribute('aria-pressed', options[i][0] === value));
        redraw();
        noteAddress();
    };
    return pick;
}
const pickSpeed = choice('speed', 'speed', [1, 2, 5, 10, 30].map(n => [n, `${n}×`]));
const pickTrail = choice('trail', 'trail', [[120, '2 min'], [600, '10 min'], [Infinity, 'All']]);

// ---- worst moments ----
let worstAt = -1;
function nextWorst() {
    if (!data.worst.length)
        return;
    worstAt = (worstAt + 1) % data.worst.length;
    const [index, t, words] = data.worst[worstAt];
    const a = aircraft[index];
    $('worsttext').textContent = `${worstAt + 1} of ${data.worst.length}: ${words}`;
    if (!a)
        return;
    play(false);
    choose(a, false);
    seek(t);
    view.mpp = Math.min(view.mpp, 2);
    redraw();
}
/// The moment with the most aircraft, which says more than an empty sky at the begin.
function busiestTime() {
    let best = begin, most = 0;
    for (let t = begin; t <= end; t += Math.max(1, (end - begin) / 400)) {
        const count = aircraft.reduce((sum, a) => sum + (poseAt(a.shown, t) ? 1 : 0), 0);
        if (count > most)
            best = t, most = count;
    }
    return best;
}

// ---- address: what is looked at can be linked ----
let addressTimer = 0;
function noteAddress() {
    clearTimeout(addressTimer);
    addressTimer = setTimeout(() => {
        const at = new URLSearchParams();
        if (state.playing)
            return;
        at.set('t', +state.t.toFixed(2));
        if (state.chosen)
            at.set('ac', state.chosen.key);
        if (!state.follow)
            at.set('at', `${latOf(view.y).toFixed(6)},${lonOf(view.x).toFixed(6)}`);
        at.set('span', +(view.width * view.mpp).toPrecision(4));
        at.set('trail', state.trail === Infinity ? 'all' : state.trail);
        try {
            history.replaceState(null, '', '#' + at);
        } catch (refused) {
            // Some browsers limit how often; the next change writes it.
        }
    }, 500);
}
function readAddress() {
    const at = new URLSearchParams(location.hash.slice(1));
    const number = key => (at.has(key) && Number.isFinite(+at.get(key)) ? +at.get(key) : null);
    if (at.get('theme') === 'dark' || at.get('theme') === 'light')
        setTheme(at.get('theme'));
    if (at.has('trail'))
        pickTrail(number('trail') ?? Infinity);
    if (number('t') !== null)
        state.t = Math.min(end, Math.max(begin, number('t')));
    else if (!at.has('ac'))
        state.t = busiestTime();
    const named = at.has('ac') ? aircraft.filter(a => a.key === at.get('ac')) : [];
    // A callsign may have been used twice.
    const chosen = named.find(a => poseAt(a.shown, state.t)) ?? named[0] ?? null;
    choose(chosen, number('t') === null);
    fitTo(chosen && chosen.shown.n && !at.has('span') && !at.has('zoom') ? [chosen.shown] : framing);
    if (number('span') > 0)
        view.mpp = Math.min(WIDEST, Math.max(CLOSEST, number('span') / view.width));
    else if (number('zoom') > 0)
        view.mpp = Math.min(WIDEST, Math.max(CLOSEST, view.mpp / number('zoom')));
    const [lat, lon] = (at.get('at') ?? '').split(',').map(Number);
    if (Number.isFinite(lat) && Number.isFinite(lon)) {
        view.x = xOf(lon), view.y = yOf(lat);
        setFollow(false);
    } else if (chosen && !at.has('span') && !at.has('zoom')) {
        setFollow(false); // all of its path
    } else if (chosen) {
        const pose = poseAt(chosen.shown, nearestTime(chosen.shown, state.t));
        if (pose)
            view.x = pose.x, view.y = pose.y;
    }
    redraw();
}

// ---- pointer ----
function listenToMap() {
    const map = $('map');
    let from = null, moved = false;
    const fingers = new Map(); // of a touch screen, by pointer
    const place = event => {
        const box = map.getBoundingClientRect();
        return [event.clientX - box.left, event.clientY - box.top];
    };
    map.addEventListener('pointerdown', event => {
        if (event.button !== 0)
            return;
        map.setPointerCapture(event.pointerId);
        from = place(event);
        fingers.set(event.pointerId, from);
        moved = fingers.size > 1;
    });
    map.addEventListener('pointermove', event => {
        const [px, py] = place(event);
        if (fingers.size > 1 && fingers.has(event.pointerId)) {
            const before = fingers.get(event.pointerId);
            const other = [...fingers].find(([id]) => id !== event.pointerId)[1];
            const apart = at => Math.hypot(at[0] - other[0], at[1] - other[1]);
            if (apart(before) > 0 && apart([px, py]) > 0)
                zoomAt(apart(before) / apart([px, py]), (px + other[0]) / 2, (py + other[1]) / 2);
            fingers.set(event.pointerId, [px, py]);
            redraw();
            return;
        }
        if (!from) {
            const over = seen.find(one => Math.hypot(one.px - px, one.py - py) < Math.max(one.size, 10) + 4)?.a ?? null;
            if (over !== state.over) {
                state.over = over;
                map.classList.toggle('over', !!over);
                redraw();
            }
            return;
        }
        const dx = px - from[0], dy = py - from[1];
        if (!moved && Math.hypot(dx, dy) < 4)
            return;
        moved = true;
        map.classList.add('drag');
        setFollow(false);
        view.x -= dx * view.mpp;
        view.y += dy * view.mpp;
        from = [px, py];
        redraw();
    });
    const release = event => {
        if (from && !moved && event.type === 'pointerup') {
            const found = aircraftAt(...place(event));
            if (found)
                choose(found, false);
        }
        fingers.delete(event.pointerId);
        from = fingers.size === 1 ? [...fingers.values()][0] : null;
        map.classList.remove('drag');
        noteAddress();
    };
    map.addEventListener('pointerup', release);
    map.addEventListener('pointercancel', release);
    map.addEventListener('wheel', event => {
        event.preventDefault();
        const pixels = event.deltaY * (event.deltaMode === 1 ? 30 : event.deltaMode === 2 ? 300 : 1);
        zoomAt(Math.exp(Math.max(-300, Math.min(300, pixels)) * 0.0016), ...place(event));
        redraw();
        noteAddress();
    }, {passive: false});
    const zoomBy = factor => {
        zoomAt(factor, view.width / 2, view.height / 2);
        redraw();
        noteAddress();
    };
    $('closer').addEventListener('click', () => zoomBy(1 / 1.6));
    $('wider').addEventListener('click', () => zoomBy(1.6));
    $('fit').addEventListener('click', () => {
        setFollow(false);
        fitTo(framing);
        redraw();
        noteAddress();
    });
}
function listenToProfile() {
    const box = $('profile');
    box.addEventListener('pointerdown', event => {
        box.setPointerCapture(event.pointerId);
        seek(profileTime(event.offsetX));
    });
    box.addEventListener('pointermove', event => {
        if (event.buttons & 1)
            seek(profileTime(event.offsetX));
    });
    box.addEventListener('wheel', event => {
        event.preventDefault();
        zoomProfile(event.deltaY > 0 ? 1.25 : 0.8, event.offsetX);
        redraw();
    }, {passive: false});
    box.addEventListener('dblclick', () => {
        Object.assign(profile, profileWhole(state.chosen));
        redraw();
    });
}
function listenToKeys() {
    document.addEventListener('keydown', event => {
        const typing = event.target === $('filter');
        if (event.key === 'Escape') {
            if (typing) {
                $('filter').value = '';
                filterList();
                $('filter').blur();
            } else {
                choose(null, false);
            }
        } else if (typing && event.key === 'Enter') {
            const first = aircraft.find(a => !a.row.row.hidden);
            if (first)
                choose(first, true);
        } else if (!typing && (event.key === 'w' || event.key === 'W') && !event.ctrlKey && !event.metaKey) {
            nextWorst();
        } else if (!typing && event.key === ' ' && event.target.tagName !== 'BUTTON') {
            event.preventDefault();
            play(!state.playing);
        } else if (!typing && (event.key === 'ArrowLeft' || event.key === 'ArrowRight')) {
            event.preventDefault();
            seek(state.t + (event.key === 'ArrowLeft' ? -1 : 1) * (event.shiftKey ? 10 : 1));
        }
    });
    // The space bar is to play, not to press again what was clicked last.
    document.addEventListener('click', event => {
        if (event.detail > 0)
            event.target.closest('button')?.blur();
    });
}

function drawLegend() {
    const row = (kind, colour, text) => {
        const line = $('signs').appendChild(document.createElement('div'));
        const sign = line.appendChild(document.createElement('i'));
        sign.className = kind;
        sign.style.borderColor = kind === 'truth' ? '' : colour;
        line.append(text);
    };
    $('signs').replaceChildren();
    for (const mark of [...occurring].sort((l, r) => l - r))
        row('', phaseColour(mark), phaseName(mark));
    if (aircraft.some(a => a.truth.n))
        row('truth', '', 'truth');
    if (aircraft.some(a => a.reports.mark.includes(1)))
        row('dot', '', 'report, in the air');
    if (aircraft.some(a => a.reports.mark.includes(0)))
        row('ring', '', 'report, on the ground');
    if (aircraft.some(a => a.shown.n))
        row('tick', '', 'where the nose points');
    if (data.runways.length)
        row('runway', '', 'runway');
    if (data.stands.length)
        row('stand', '', 'stand');
    row('user', '', 'your aircraft');
}
function useTheme(name) {
    setTheme(name);
    $('theme').textContent = dark ? 'Light' : 'Dark';
    drawLegend();
    for (const a of aircraft)
        a.row.mark = -2;
    redraw();
}

// ---- begin ----
$('title').textContent = document.title = data.title;
$('summary').textContent = `${aircraft.length} aircraft, ${clockText(end - begin)}`;
$('list').append(...aircraft.map(drawRow));
$('slider').min = begin;
$('slider').max = end;
$('end').textContent = clockText(end);
$('slider').addEventListener('input', () => seek(+$('slider').value));
$('filter').addEventListener('input', filterList);
$('play').addEventListener('click', () => play(!state.playing));
$('follow').addEventListener('click', () => {
    setFollow(!state.follow);
    redraw();
});
$('worst').addEventListener('click', nextWorst);
$('worst').disabled = !data.worst.length;
$('legend').open = innerWidth >= 900;
$('theme').addEventListener('click', () => useTheme(dark ? 'light' : 'dark'));
listenToMap();
listenToProfile();
listenToKeys();
pickSpeed(1);
pickTrail(state.trail);
play(false);
const asked = new URLSearchParams(location.hash.slice(1)).get('theme');
useTheme(asked === 'dark' || !asked && matchMedia('(prefers-color-scheme: dark)').matches ? 'dark' : 'light');
readAddress();
addEventListener('hashchange', readAddress);
// At once, so that no picture of the old size is seen stretched.
for (const id of ['map', 'profile'])
    new ResizeObserver(paint).observe($(id));
