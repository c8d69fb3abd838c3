// SPDX-License-Identifier: MIT
// ---- state ----
const state = {
    t: begin, playing: false, speed: 1, trail: aircraft.length > 12 ? 600 : Infinity, chosen: null, follow: false,
    over: null,
};
const view = {x: 0, y: 0, mpp: 1, width: 1, height: 1}; // middle in metres, metres per pixel, pixels
let colours = {}, dark = false, seen = [];

const PHASES = [ // light, dark
    ['#2f6db3', '#6ea8e6'], ['#15857a', '#4cc2b0'], ['#c98500', '#efb643'], ['#cc4b2c', '#f08561'],
    ['#7b55b8', '#b294e8'], ['#b33f7c', '#e585b5'], ['#4b8a26', '#8fca64'], ['#85694a', '#c3a582'],
];
const phaseColour = mark => PHASES[mark % PHASES.length][dark ? 1 : 0];
const phaseName = mark => data.phases[mark] ?? '?';

function setTheme(name) {
    dark = name === 'dark';
    document.documentElement.dataset.theme = name;
    const style = getComputedStyle(document.documentElement);
    for (const key of ['panel', 'map', 'grid', 'line', 'ink', 'soft', 'truth', 'accent', 'runway'])
        colours[key] = style.getPropertyValue('--' + key).trim();
    colours.font = getComputedStyle(document.body).fontFamily;
}

function clockText(t) {
    const s = Math.floor(Math.abs(t) + 1e-6), two = n => String(n).padStart(2, '0');
    return `${t < 0 ? '-' : ''}${Math.floor(s / 3600)}:${two(Math.floor(s / 60) % 60)}:${two(s % 60)}`;
}

/// Fits a canvas to its box and the screen's pixels, and clears it.
function sheet(canvas) {
    const width = canvas.clientWidth, height = canvas.clientHeight, fine = devicePixelRatio || 1;
    if (canvas.width !== Math.round(width * fine) || canvas.height !== Math.round(height * fine)) {
        canvas.width = Math.round(width * fine);
        canvas.height = Math.round(height * fine);
    }
    const g = canvas.getContext('2d');
    g.setTransform(fine, 0, 0, fine, 0, 0);
    g.clearRect(0, 0, width, height);
    g.lineJoin = g.lineCap = 'round';
    return {g, width, height};
}

// ---- view ----
const toX = x => (x - view.x) / view.mpp + view.width / 2;
const toY = y => (view.y - y) / view.mpp + view.height / 2;
const fromX = px => (px - view.width / 2) * view.mpp + view.x;
const fromY = py => (view.height / 2 - py) * view.mpp + view.y;
const WIDEST = 20000, CLOSEST = 0.02; // metres per pixel

function measureView() {
    view.width = Math.max(50, $('map').clientWidth);
    view.height = Math.max(50, $('map').clientHeight);
}
function fitTo(series) {
    const box = {west: Infinity, east: -Infinity, south: Infinity, north: -Infinity};
    measureView();
    for (const s of series) {
        box.west = Math.min(box.west, s.box.west), box.east = Math.max(box.east, s.box.east);
        box.south = Math.min(box.south, s.box.south), box.north = Math.max(box.north, s.box.north);
    }
    if (box.west > box.east)
        box.west = box.east = box.south = box.north = 0;
    const wide = Math.max(300, box.east - box.west), high = Math.max(300, box.north - box.south);
    view.mpp = Math.max(wide / Math.max(50, view.width - 150), high / Math.max(50, view.height - 110));
    view.x = (box.west + box.east) / 2;
    view.y = (box.south + box.north) / 2;
}
function zoomAt(factor, px, py) {
    const x = fromX(px), y = fromY(py);
    view.mpp = Math.min(WIDEST, Math.max(CLOSEST, view.mpp * factor));
    view.x += x - fromX(px);
    view.y += y - fromY(py);
}
function boxInView(box, margin) {
    return toX(box.east) >= -margin && toX(box.west) <= view.width + margin && toY(box.south) >= -margin &&
        toY(box.north) <= view.height + margin;
}
const pointInView = (px, py, margin) =>
    px >= -margin && px <= view.width + margin && py >= -margin && py <= view.height + margin;

/// The largest of 1, 2, 5, 10, ... that is not above.
function niceBelow(value) {
    const ten = 10 ** Math.floor(Math.log10(value)), digit = value / ten;
    return (digit >= 5 ? 5 : digit >= 2 ? 2 : 1) * ten;
}

// ---- paths ----
/// Draws a path from one time to another, only what is in view. `style` gets the mark and tells the colour.
function strokePath(g, s, from, to, style, dashed) {
    const ids = pointsFor(s, view.mpp);
    let px = 0, py = 0, far = 0, mark = -1, started = false, drawnMark = -1, drawing = false;
    const edgeX = view.width + 20, edgeY = view.height + 20;
    const visit = (x, y, nextFar, nextMark, joined) => {
        x = toX(x), y = toY(y);
        const visible = started && joined && !(px < -20 && x < -20 || px > edgeX && x > edgeX ||
            py < -20 && y < -20 || py > edgeY && y > edgeY);
        if (drawing && (!visible || mark !== drawnMark)) {
            g.stroke();
            drawing = false;
        }
        if (visible) {
            if (!drawing) {
                g.beginPath();
                g.strokeStyle = style(mark);
                // Dashes stay where they are when the begin of the path moves.
                if (dashed)
                    g.lineDashOffset = far / view.mpp % 7;
                g.moveTo(px, py);
                drawing = true;
                drawnMark = mark;
            }
            g.lineTo(x, y);
        }
        px = x, py = y, far = nextFar, mark = nextMark, started = true;
    };
    const first = poseAt(s, from), last = poseAt(s, to);
    if (first)
        visit(first.x, first.y, first.far, first.mark, false);
    let low = 0, high = ids.length;
    while (low < high) {
        const mid = (low + high) >> 1;
        if (s.t[ids[mid]] <= from)
            low = mid + 1;
        else
            high = mid;
    }
    for (; low < ids.length && s.t[ids[low]] < to; ++low) {
        const i = ids[low];
        visit(s.x[i], s.y[i], s.far[i], s.mark[i], !s.broken[i]);
    }
    if (last)
        visit(last.x, last.y, last.far, last.mark, true);
    if (drawing)
        g.stroke();
}

/// On the map a heading leans a little where the meridians are nearer to each other than in its middle.
function turnOf(pose) {
    const stretch = EAST / METRES_PER_DEGREE / Math.max(0.01, Math.cos(latOf(pose.y) * Math.PI / 180));
    const angle = pose.heading * Math.PI / 180;
    return Math.atan2(Math.sin(angle) * stretch, Math.cos(angle));
}

/// A line to the nose with a bar across, so that it is seen where the nose points along the path too.
function drawNoseTicks(g, s, from, to) {
    g.lineWidth = 1.2;
    let lastX = NaN, lastY = NaN, lastHeading = NaN;
    for (let i = countUntil(s.t, from - 1e-6); i < s.n && s.t[i] <= to; ++i) {
        const px = toX(s.x[i]), py = toY(s.y[i]);
        if (!pointInView(px, py, 12))
            continue;
        // In fast flight there is room from far, on the ground only from near.
        const room = s.gs[i] * 0.5144 / view.mpp >= 8 || view.mpp < 0.4;
        const same = Math.hypot(px - lastX, py - lastY) < 0.5 && Math.abs(s.heading[i] - lastHeading) < 1;
        if (!room || same)
            continue;
        lastX = px, lastY = py, lastHeading = s.heading[i];
        const turn = turnOf({y: s.y[i], heading: s.heading[i]});
        g.strokeStyle = phaseColour(s.mark[i]);
        const sin = Math.sin(turn), cos = Math.cos(turn);
        g.beginPath();
        g.moveTo(px - cos * 4, py - sin * 4);
        g.lineTo(px + cos * 4, py + sin * 4);
        g.moveTo(px, py);
        g.lineTo(px + sin * 10, py - cos * 10);
        g.stroke();
    }
}

function drawReports(g, s, from, to, strong) {
    // Of those that come too close one per piece of the way, so that none flickers when the time goes on.
    const piece = view.mpp * (strong ? 7 : 9), radius = strong ? 2.4 : 1.7, first = countUntil(s.t, from - 1e-6);
    for (const airborne of [1, 0]) {
        g.beginPath();
        for (let i = first; i < s.n && s.t[i] <= to; ++i) {
            if (i > 0 && Math.floor(s.far[i] / piece) === Math.floor(s.far[i - 1] / piece))
                continue;
            const px = toX(s.x[i]), py = toY(s.y[i]);
            if (s.mark[i] !== airborne || !pointInView(px, py, 4))
                continue;
            g.moveTo(px + radius, py);
            g.arc(px, py, radius, 0, 7);
        }
        g.fillStyle = airborne ? colours.ink : colours.map;
        g.strokeStyle = colours.ink;
        g.lineWidth = 1.1;
        g.fill();
        if (!airborne)
            g.stroke();
    }
}

// ---- aircraft ----
const OUTLINE = [ // one half, in half spans: to the right, to the tail
    [0, -1.04], [0.07, -0.97], [0.11, -0.8], [0.12, -0.36], [1, 0.22], [1, 0.36], [0.12, 0.14], [0.1, 0.6],
    [0.4, 0.86], [0.4, 0.98], [0.06, 0.88], [0, 0.98],
];
function aircraftPath(g, px, py, turn, size) {
    const sin = Math.sin(turn) * size, cos = Math.cos(turn) * size;
    g.beginPath();
    for (let k = 0; k < OUTLINE.length * 2 - 1; ++k) {
        const left = k >= OUTLINE.length, [across, back] = OUTLINE[left ? OUTLINE.length * 2 - 1 - k : k];
        const x = left ? -across : across;
        g.lineTo(px + x * cos - back * sin, py + x * sin + back * cos);
    }
    g.closePath();
}
const sizeOf = (a, strong) => Math.max(a.span / view.mpp, strong ? 10 : 7);

function drawAircraft(g, a, pose, strong) {
    const px = toX(pose.x), py = toY(pose.y), size = sizeOf(a, strong);
    const truth = size > 20 && poseAt(a.truth, state.t);
    if (truth) {
        aircraftPath(g, toX(truth.x), toY(truth.y), turnOf(truth), size);
        g.setLineDash([3, 3]);
        g.lineWidth = 1;
        g.strokeStyle = colours.truth;
        g.stroke();
        g.setLineDash([]);
    }
    if (strong && size < 30) {
        g.beginPath();
        g.arc(px, py, size + 8, 0, 7);
        g.fillStyle = colours.accent;
        g.globalAlpha = 0.13;
        g.fill();
        g.globalAlpha = 0.6;
        g.strokeStyle = colours.accent;
        g.lineWidth = 1.2;
        g.stroke();
        g.globalAlpha = 1;
    }
    aircraftPath(g, px, py, turnOf(pose), size);
    g.strokeStyle = strong && size >= 30 ? colours.accent : colours.map;
    g.lineWidth = 2;
    g.stroke();
    g.fillStyle = phaseColour(pose.mark);
    g.globalAlpha = size < 30 ? 1 : 0.6; // what is under a large one stays visible
    g.fill();
    g.globalAlpha = 1;
}

function drawLabels(g) {
    const placed = [];
    g.font = '11px ' + colours.font;
    g.textBaseline = 'middle';
    g.lineWidth = 3;
    const important = ({a}) => (a === state.chosen ? 0 : a === state.over ? 1 : 2);
    for (const {a, px, py, size} of [...seen].sort((l, r) => important(l) - important(r))) {
        a.textWidth ??= g.measureText(a.callsign).width;
        const wing = Math.min(size, 120), x = px + wing * 0.8 + 6, y = py - wing * 0.8 - 3;
        const box = [x - 2, y - 7, x + a.textWidth + 2, y + 7];
        if (placed.some(p => box[0] < p[2] && p[0] < box[2] && box[1] < p[3] && p[1] < box[3]))
            continue;
        placed.push(box);
        const strong = a === state.chosen || a === state.over;
        g.strokeStyle = colours.map;
        g.strokeText(a.callsign, x, y);
        g.fillStyle = strong ? colours.ink : colours.soft;
        g.fillText(a.callsign, x, y);
        if (placed.length > 120)
            break;
    }
}

// ---- ground ----
function drawGrid(g) {
    const step = niceBelow(view.mpp * 220);
    g.strokeStyle = colours.grid;
    g.lineWidth = 1;
    g.beginPath();
    for (let x = Math.ceil(fromX(0) / step) * step; toX(x) <= view.width; x += step) {
        g.moveTo(Math.round(toX(x)) + 0.5, 0);
        g.lineTo(Math.round(toX(x)) + 0.5, view.height);
    }
    for (let y = Math.ceil(fromY(view.height) / step) * step; toY(y) >= 0; y += step) {
        g.moveTo(0, Math.round(toY(y)) + 0.5);
        g.lineTo(view.width, Math.round(toY(y)) + 0.5);
    }
    g.stroke();
}
function drawRunways(g) {
    if (view.mpp > 60)
        return;
    g.strokeStyle = colours.runway;
    g.lineCap = 'butt';
    g.fillStyle = colours.soft;
    g.font = '11px ' + colours.font;
    g.textBaseline = 'middle';
    g.textAlign = 'center';
    for (const r of runways) {
        const [a, b] = r.ends.map(end => ({px: toX(end.x), py: toY(end.y)}));
        const length = Math.hypot(b.px - a.px, b.py - a.py);
        g.lineWidth = Math.max(1.5, r.width / view.mpp);
        g.beginPath();
        g.moveTo(a.px, a.py);
        g.lineTo(b.px, b.py);
        g.stroke();
        if (length < 90)
            continue;
        const out = 14 / length;
        g.fillText(r.names[0], a.px + (a.px - b.px) * out, a.py + (a.py - b.py) * out);
        g.fillText(r.names[1] ?? '', b.px + (b.px - a.px) * out, b.py + (b.py - a.py) * out);
    }
    g.lineCap = 'round';
    g.textAlign = 'start';
}
function drawStands(g) {
    if (view.mpp > 8)
        return;
    g.strokeStyle = g.fillStyle = colours.truth;
    g.lineWidth = 1;
    g.font = '11px ' + colours.font;
    g.textBaseline = 'middle';
    g.textAlign = 'center';
    for (const s of stands) {
        const px = toX(s.x), py = toY(s.y), r = Math.max(1.5, s.radius / view.mpp);
        if (!pointInView(px, py, r + 14))
            continue;
        g.globalAlpha = 0.7;
        g.beginPath();
        g.arc(px, py, r, 0, 7);
        g.moveTo(px, py);
        g.lineTo(px + Math.sin(s.heading) * r, py - Math.cos(s.heading) * r);
        g.stroke();
        g.globalAlpha = 1;
        if (r > 11)
            g.fillText(s.id, px, py + r + 8);
    }
    g.textAlign = 'start';
}
function drawUser(g) {
    const px = toX(user.x), py = toY(user.y);
    if (!pointInView(px, py, 20))
        return;
    g.strokeStyle = g.fillStyle = colours.accent;
    g.lineWidth = 1.6;
    g.beginPath();
    g.arc(px, py, 6, 0, 7);
    g.moveTo(px - 11, py), g.lineTo(px + 11, py);
    g.moveTo(px, py - 11), g.lineTo(px, py + 11);
    g.stroke();
    g.font = '11px ' + colours.font;
    g.textBaseline = 'middle';
    g.fillText('you', px + 13, py + 9);
}
function drawScale(g) {
    const metres = niceBelow(view.mpp * 150), miles = niceBelow(view.mpp * 150 / 1852);
    const left = 16, base = view.height - 28;
    const bar = (length, up, text) => {
        g.beginPath();
        g.moveTo(left + 0.5, base + 0.5);
        g.lineTo(left + 0.5, base + 0.5 - up);
        g.moveTo(left + length + 0.5, base + 0.5);
        g.lineTo(left + length + 0.5, base + 0.5 - up);
        g.moveTo(left, base + 0.5);
        g.lineTo(left + length + 1, base + 0.5);
        g.strokeStyle = colours.soft;
        g.lineWidth = 1.2;
        g.stroke();
        g.fillStyle = colours.soft;
        g.fillText(text, left + 5, base + (up > 0 ? -8 : 10));
    };
    const plain = n => String(+n.toPrecision(2));
    g.font = '11px ' + colours.font;
    g.textBaseline = 'middle';
    bar(metres / view.mpp, 6, metres < 1000 ? plain(metres) + ' m' : plain(metres / 1000) + ' km');
    bar(miles * 1852 / view.mpp, -6, plain(miles) + ' nm');
}

function windowOf(a) {
    if (state.trail === Infinity)
        return [-Infinity, Infinity];
    // Of the chosen one also what comes.
    return [state.t - state.trail, a === state.chosen ? state.t + state.trail : state.t];
}
function limited(s, [from, to]) {
    return s.n ? [Math.max(from, s.t[0]), Math.min(to, s.t[s.n - 1])] : [1, 0];
}

function drawMap() {
    const {g} = sheet($('map'));
    measureView();
    drawGrid(g);
    drawRunways(g);
    drawStands(g);
    drawUser(g);
    const order = aircraft.filter(a => a !== state.chosen);
    if (state.chosen)
        order.push(state.chosen);
    // From afar a crowd is only lines: what else there is could not be told apart, and takes most of the time.
    const about = order.filter(a => boxInView(a.shown.box, 0)).length, crowd = about > 40 && about * view.mpp > 800;
    const usable = (s, window) => s.n && boxInView(s.box, 20) && window[0] <= window[1];
    for (const layer of ['truth', 'shown', 'ticks', 'reports']) {
        for (const a of order) {
            const strong = a === state.chosen || a === state.over, s = layer === 'ticks' ? a.shown : a[layer];
            const window = limited(s, windowOf(a));
            if (!usable(s, window) || crowd && !strong && layer !== 'shown')
                continue;
            g.globalAlpha = strong ? 1 : state.chosen ? 0.45 : 0.85;
            if (layer === 'truth') {
                g.setLineDash([4, 3]);
                g.lineWidth = 1;
                strokePath(g, s, ...window, () => colours.truth, true);
                g.setLineDash([]);
            } else if (layer === 'shown') {
                g.lineWidth = strong ? 2.2 : crowd ? 1 : 1.4;
                strokePath(g, s, ...window, phaseColour, false);
            } else if (layer === 'ticks') {
                if (view.mpp < 60)
                    drawNoseTicks(g, s, ...window);
            } else {
                g.globalAlpha *= 0.7;
                drawReports(g, s, ...window, strong);
            }
        }
    }
    g.globalAlpha = 1;
    seen = [];
    for (const a of order) {
        const pose = poseAt(a.shown, state.t);
        if (!pose)
            continue;
        const px = toX(pose.x), py = toY(pose.y), size = sizeOf(a, a === state.chosen);
        if (!pointInView(px, py, size + 10))
            continue;
        drawAircraft(g, a, pose, a === state.chosen);
        seen.push({a, px, py, size});
    }
    drawLabels(g);
    drawScale(g);
}

/// The aircraft at a place of the map: by its shape, else by its path.
function aircraftAt(px, py) {
    let best = null, least = Infinity;
    for (const one of seen) {
        const off = Math.hypot(one.px - px, one.py - py) - Math.max(one.size, 10);
        if (off < 4 && off < least)
            best = one.a, least = off;
    }
    if (best)
        return best;
    least = 6;
    for (const a of aircraft) {
        const s = a.shown, window = limited(s, windowOf(a));
        if (!s.n || !boxInView(s.box, 20))
            continue;
        const ids = pointsFor(s, view.mpp);
        for (let k = 1; k < ids.length; ++k) {
            const i = ids[k - 1], j = ids[k];
            if (s.broken[j] || s.t[j] < window[0] || s.t[i] > window[1])
                continue;
            const x = toX(s.x[i]), y = toY(s.y[i]), dx = toX(s.x[j]) - x, dy = toY(s.y[j]) - y;
            const along = ((px - x) * dx + (py - y) * dy) / (dx * dx + dy * dy || 1);
            const at = Math.max(0, Math.min(1, along)), off = Math.hypot(x + dx * at - px, y + dy * at - py);
            if (off < least)
                best = a, least = off;
        }
    }
    return best;
}
