// SPDX-License-Identifier: MIT
// ---- data: unpacked into one array per column ----
const $ = id => document.getElementById(id);
const data = JSON.parse($('data').textContent);
$('data').remove();

const METRES_PER_DEGREE = 60 * 1852;
const LONGEST_STEP = 2; // seconds; what is longer is a break

function unroll(pairs, count) {
    const out = new Float64Array(count);
    for (let i = 0, to = 0; i < pairs.length; i += 2)
        out.fill(pairs[i], to, to += pairs[i + 1]);
    return out;
}
function sums(steps, unit) {
    const out = new Float64Array(steps.length);
    for (let i = 0, v = 0; i < steps.length; ++i)
        out[i] = (v += steps[i]) * unit;
    return out;
}
function doubleSums(bends, unit) {
    const out = new Float64Array(bends.length);
    for (let i = 0, v = 0, step = 0; i < bends.length; ++i)
        out[i] = (v += step += bends[i]) * unit;
    return out;
}
function unpack(raw) {
    const n = raw.lat.length;
    return {
        n, t: sums(unroll(raw.s, n), 0.01), x: doubleSums(raw.lon, 1e-6), y: doubleSums(raw.lat, 1e-6),
        alt: sums(raw.alt, 1), gs: sums(raw.gs, 0.1), heading: sums(raw.heading, 0.1), mark: unroll(raw.mark, n),
        levels: [],
    };
}

const aircraft = data.aircraft.map((raw, index) => ({
    index, callsign: raw.callsign || '(no callsign)', key: raw.callsign, model: raw.model, span: raw.halfSpan / 10,
    reports: unpack(raw.reports), shown: unpack(raw.shown), truth: unpack(raw.truth),
}));
data.aircraft = null;
const occurring = new Set();
const allSeries = aircraft.flatMap(a => [a.shown, a.truth, a.reports]);
// What the simulator got sets the frame; only where there is none of it the rest does.
const shownSeries = aircraft.map(a => a.shown).filter(s => s.n);
const framing = shownSeries.length ? shownSeries : allSeries.filter(s => s.n);

// ---- projection: metres east and north of the middle ----
const aroundTurn = degrees => degrees - 360 * Math.round(degrees / 360);
const origin = (() => {
    if (!framing.length)
        return {lat: 0, lon: 0};
    const first = framing[0].x[0];
    let south = Infinity, north = -Infinity, west = Infinity, east = -Infinity;
    for (const s of framing) {
        for (let i = 0; i < s.n; ++i) {
            const lon = aroundTurn(s.x[i] - first);
            south = Math.min(south, s.y[i]), north = Math.max(north, s.y[i]);
            west = Math.min(west, lon), east = Math.max(east, lon);
        }
    }
    return {lat: (south + north) / 2, lon: first + (west + east) / 2};
})();
const EAST = METRES_PER_DEGREE * Math.max(0.01, Math.cos(origin.lat * Math.PI / 180));
const latOf = y => origin.lat + y / METRES_PER_DEGREE;
const lonOf = x => aroundTurn(origin.lon + x / EAST);
const xOf = lon => aroundTurn(lon - origin.lon) * EAST;
const yOf = lat => (lat - origin.lat) * METRES_PER_DEGREE;

const stands = data.stands.map(([id, lat, lon, radius, heading]) =>
    ({id, x: xOf(lon), y: yOf(lat), radius, heading: heading * Math.PI / 180}));
const runways = data.runways.map(([name, width, lat0, lon0, lat1, lon1]) =>
    ({names: name.split('/'), width, ends: [{x: xOf(lon0), y: yOf(lat0)}, {x: xOf(lon1), y: yOf(lat1)}]}));
const user = {x: xOf(data.user[1]), y: yOf(data.user[0])};

for (const s of allSeries) {
    s.far = new Float64Array(s.n); // metres along the path
    s.broken = new Uint8Array(s.n); // a break is before it
    s.corner = new Uint8Array(s.n); // must stay when the path is thinned
    s.box = {west: Infinity, east: -Infinity, south: Infinity, north: -Infinity};
    for (let i = 0; i < s.n; ++i) {
        const x = s.x[i] = xOf(s.x[i]), y = s.y[i] = yOf(s.y[i]);
        s.box.west = Math.min(s.box.west, x), s.box.east = Math.max(s.box.east, x);
        s.box.south = Math.min(s.box.south, y), s.box.north = Math.max(s.box.north, y);
        if (i === 0 || i === s.n - 1)
            s.corner[i] = 1;
        if (i === 0)
            continue;
        s.far[i] = s.far[i - 1] + Math.hypot(x - s.x[i - 1], y - s.y[i - 1]);
        if (s.t[i] - s.t[i - 1] > LONGEST_STEP)
            s.broken[i] = s.corner[i] = s.corner[i - 1] = 1;
        if (s.mark[i] !== s.mark[i - 1])
            s.corner[i] = 1;
    }
}
for (const s of shownSeries)
    for (let i = 0; i < s.n; ++i)
        if (s.corner[i])
            occurring.add(s.mark[i]);
const begin = framing.reduce((least, s) => Math.min(least, s.t[0]), framing.length ? Infinity : 0);
const end = framing.reduce((most, s) => Math.max(most, s.t[s.n - 1]), framing.length ? -Infinity : 0);

// ---- where it was ----
/// How many of the sorted values are not after `t`.
function countUntil(values, t) {
    let low = 0, high = values.length;
    while (low < high) {
        const mid = (low + high) >> 1;
        if (values[mid] <= t)
            low = mid + 1;
        else
            high = mid;
    }
    return low;
}
/// Between the seconds; null where there is nothing.
function poseAt(s, t) {
    const i = countUntil(s.t, t) - 1;
    if (i < 0)
        return null;
    const next = Math.min(i + 1, s.n - 1), length = s.t[next] - s.t[i];
    if (t > s.t[i] && (next === i || s.broken[next]))
        return null;
    const part = length > 0 ? (t - s.t[i]) / length : 0;
    const mix = values => values[i] + (values[next] - values[i]) * part;
    return {
        t, x: mix(s.x), y: mix(s.y), alt: mix(s.alt), gs: mix(s.gs), far: mix(s.far), mark: s.mark[i],
        heading: s.heading[i] + aroundTurn(s.heading[next] - s.heading[i]) * part,
    };
}
/// The time nearest to `t` at which it is somewhere.
function nearestTime(s, t) {
    const i = countUntil(s.t, t);
    if (i === 0 || i === s.n)
        return s.n ? s.t[Math.min(i, s.n - 1)] : t;
    return poseAt(s, t) ? t : t - s.t[i - 1] < s.t[i] - t ? s.t[i - 1] : s.t[i];
}

// ---- thinning: zoomed out, a path needs few of its points ----
function thin(s, ids, tolerance) {
    const keep = new Uint8Array(ids.length), open = [];
    let from = 0;
    for (let k = 0; k < ids.length; ++k) {
        if (!s.corner[ids[k]])
            continue;
        keep[k] = 1;
        open.push(from, k);
        from = k;
    }
    while (open.length) {
        const last = open.pop(), first = open.pop();
        const x = s.x[ids[first]], y = s.y[ids[first]], dx = s.x[ids[last]] - x, dy = s.y[ids[last]] - y;
        const square = dx * dx + dy * dy || 1;
        let worst = tolerance * tolerance, at = -1;
        for (let k = first + 1; k < last; ++k) {
            const px = s.x[ids[k]] - x, py = s.y[ids[k]] - y;
            const along = Math.max(0, Math.min(1, (px * dx + py * dy) / square));
            const off = (px - along * dx) ** 2 + (py - along * dy) ** 2;
            if (off > worst)
                worst = off, at = k;
        }
        if (at >= 0) {
            keep[at] = 1;
            open.push(first, at, at, last);
        }
    }
    return ids.filter((id, k) => keep[k]);
}
/// The points that matter when a pixel is so many metres. Each level is made of the one before it, four times as fine.
function pointsFor(s, metresPerPixel) {
    const level = Math.max(0, Math.floor(Math.log(metresPerPixel) / Math.log(4)) + 1);
    if (!s.levels.length)
        s.levels.push(Int32Array.from({length: s.n}, (none, i) => i));
    while (s.levels.length <= level)
        s.levels.push(thin(s, s.levels.at(-1), 0.1 * 4 ** s.levels.length));
    return s.levels[level];
}
