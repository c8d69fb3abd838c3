// SPDX-License-Identifier: MIT
// ---- profile: altitude and speed of the chosen aircraft over time ----
const profile = {from: 0, to: 1, left: 56, right: 24, width: 1};
const profileX = t => profile.left + (t - profile.from) / (profile.to - profile.from) * profile.width;
const profileTime = px => profile.from + (px - profile.left) / profile.width * (profile.to - profile.from);

function profileWhole(a) {
    const all = [a.shown, a.truth, a.reports].filter(s => s.n);
    const from = Math.min(...all.map(s => s.t[0])), to = Math.max(...all.map(s => s.t[s.n - 1]));
    return all.length ? {from, to: Math.max(to, from + 10)} : {from: begin, to: begin + 10};
}
function zoomProfile(factor, px) {
    const at = profileTime(px), whole = profileWhole(state.chosen);
    const from = at - (at - profile.from) * factor, to = at + (profile.to - at) * factor;
    if (to - from < 5)
        return;
    profile.from = Math.max(from, whole.from);
    profile.to = Math.min(to, whole.to);
}
/// A part that is looked at closely goes along with the time.
function keepCursorInProfile() {
    const whole = profileWhole(state.chosen), length = profile.to - profile.from;
    if (length >= whole.to - whole.from || state.t >= profile.from && state.t <= profile.to)
        return;
    profile.from = Math.max(whole.from, Math.min(whole.to - length, state.t - length / 10));
    profile.to = profile.from + length;
}

/// The visible part of a series, one point beyond each side.
function profileRange(s) {
    return [Math.max(0, countUntil(s.t, profile.from) - 1), Math.min(s.n, countUntil(s.t, profile.to) + 1)];
}
function drawProfileLine(g, s, values, toPixel, style) {
    const [first, last] = profileRange(s);
    for (let i = first + 1; i < last;) {
        const mark = s.mark[i - 1];
        g.beginPath();
        g.strokeStyle = style(mark);
        g.moveTo(profileX(s.t[i - 1]), toPixel(values[i - 1]));
        for (; i < last && s.mark[i - 1] === mark; ++i) {
            const px = profileX(s.t[i]), py = toPixel(values[i]);
            if (s.broken[i])
                g.moveTo(px, py);
            else
                g.lineTo(px, py);
        }
        g.stroke();
    }
}
function drawProfileReports(g, s, values, toPixel) {
    const [first, last] = profileRange(s), apart = profileX(s.t[last - 1]) - profileX(s.t[first]);
    let stride = 1;
    while (stride * apart < (last - first) * 13 && stride < s.n)
        stride *= 2;
    g.globalAlpha = 0.6;
    g.lineWidth = 1;
    for (let i = Math.ceil(first / stride) * stride; i < last; i += stride) {
        g.beginPath();
        g.arc(profileX(s.t[i]), toPixel(values[i]), 2.4, 0, 7);
        g.fillStyle = s.mark[i] ? colours.ink : colours.panel;
        g.strokeStyle = colours.ink;
        g.fill();
        if (!s.mark[i])
            g.stroke();
    }
    g.globalAlpha = 1;
}
function drawProfilePanel(g, a, key, title, smallest, top, height) {
    let least = Infinity, most = -Infinity;
    for (const s of [a.shown, a.truth, a.reports]) {
        const [first, last] = profileRange(s);
        for (let i = first; i < last; ++i)
            least = Math.min(least, s[key][i]), most = Math.max(most, s[key][i]);
    }
    if (least > most)
        least = most = 0;
    const half = Math.max((most - least) / 2, smallest / 2) * 1.1;
    // What is never below zero needs no room there.
    const middle = least < 0 ? (least + most) / 2 : Math.max((least + most) / 2, half * 0.85);
    const toPixel = v => top + height / 2 - (v - middle) / half * height / 2;
    const step = niceBelow(half * 2 / Math.max(1, height / 34));
    g.font = '11px ' + colours.font;
    g.lineWidth = 1;
    g.textAlign = 'right';
    g.textBaseline = 'middle';
    let labelled = Infinity;
    for (let v = Math.ceil((middle - half) / step) * step; v <= middle + half; v += step) {
        const py = Math.round(toPixel(v)) + 0.5;
        if (labelled - py < 17)
            continue;
        labelled = py;
        g.strokeStyle = colours.grid;
        g.beginPath();
        g.moveTo(profile.left, py);
        g.lineTo(profile.left + profile.width, py);
        g.stroke();
        g.fillStyle = colours.soft;
        g.fillText((Math.round(v) || 0).toLocaleString('en'), profile.left - 8, py);
    }
    g.save();
    g.beginPath();
    g.rect(profile.left - 3, top - 4, profile.width + 6, height + 8);
    g.clip();
    drawProfileReports(g, a.reports, a.reports[key], toPixel);
    g.setLineDash([4, 3]);
    drawProfileLine(g, a.truth, a.truth[key], toPixel, () => colours.truth);
    g.setLineDash([]);
    g.lineWidth = 1.8;
    drawProfileLine(g, a.shown, a.shown[key], toPixel, phaseColour);
    const pose = poseAt(a.shown, state.t);
    if (pose) {
        g.beginPath();
        g.arc(profileX(state.t), toPixel(pose[key]), 4, 0, 7);
        g.fillStyle = phaseColour(pose.mark);
        g.fill();
        g.strokeStyle = colours.panel;
        g.lineWidth = 1.5;
        g.stroke();
    }
    g.restore();
    g.textAlign = 'left';
    g.fillStyle = colours.soft;
    g.fillText(title, profile.left + 6, top - 11);
}
function drawProfile() {
    const a = state.chosen, {g, width, height} = sheet($('profile'));
    profile.width = Math.max(20, width - profile.left - profile.right);
    keepCursorInProfile();
    const steps = [1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 14400];
    const length = profile.to - profile.from, wanted = length / Math.max(1, profile.width / 90);
    const step = steps.find(s => s >= wanted) ?? 28800, bottom = height - 22;
    g.font = '11px ' + colours.font;
    g.textBaseline = 'middle';
    g.textAlign = 'center';
    for (let t = Math.ceil(profile.from / step) * step; t <= profile.to; t += step) {
        const px = Math.round(profileX(t)) + 0.5;
        g.strokeStyle = colours.grid;
        g.lineWidth = 1;
        g.beginPath();
        g.moveTo(px, 10);
        g.lineTo(px, bottom);
        g.stroke();
        g.fillStyle = colours.soft;
        if (px < width - 22)
            g.fillText(clockText(t), px, height - 11);
    }
    const room = bottom - 10, upper = Math.round(room * 0.56);
    drawProfilePanel(g, a, 'alt', 'Altitude, ft', 40, 22, upper - 12);
    drawProfilePanel(g, a, 'gs', 'Ground speed, kn', 10, 32 + upper, room - upper - 26);
    const px = profileX(state.t);
    if (px >= profile.left && px <= profile.left + profile.width) {
        g.strokeStyle = colours.accent;
        g.lineWidth = 1;
        g.beginPath();
        g.moveTo(px, 6);
        g.lineTo(px, bottom);
        g.stroke();
    }
}

// ---- read-out ----
const angleText = (value, digits, plus, minus) => `${Math.abs(value).toFixed(digits)}° ${value < 0 ? minus : plus}`;
const signed = (value, digits) => (value < 0 ? '−' : '+') + Math.abs(value).toFixed(digits);
const headingText = h => ((Math.round(h) % 360 + 360) % 360 || 360).toString().padStart(3, '0') + '°';

function readOut() {
    const a = state.chosen, pose = poseAt(a.shown, state.t), truth = pose && poseAt(a.truth, state.t);
    const rows = [['Time', clockText(state.t)]];
    if (pose) {
        rows.push(
            ['Latitude', angleText(latOf(pose.y), 5, 'N', 'S')], ['Longitude', angleText(lonOf(pose.x), 5, 'E', 'W')],
            ['Altitude', `${Math.round(pose.alt).toLocaleString('en')} ft`],
            ['Speed', `${pose.gs.toFixed(pose.gs < 50 ? 1 : 0)} kn`], ['Heading', headingText(pose.heading)],
            ['Phase', phaseName(pose.mark)]);
    } else {
        rows.push(['', 'not there now']);
    }
    if (truth) {
        rows.push(
            ['Off truth', `${Math.hypot(pose.x - truth.x, pose.y - truth.y).toFixed(1)} m, ` +
                `${signed(pose.alt - truth.alt, 0)} ft, ${signed(aroundTurn(pose.heading - truth.heading), 1)}°`]);
    }
    $('values').replaceChildren(...rows.flatMap(([name, value]) => {
        const term = document.createElement('dt'), text = document.createElement('dd');
        term.textContent = name;
        text.textContent = value;
        return [term, text];
    }));
}
