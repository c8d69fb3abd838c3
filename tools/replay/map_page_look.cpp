// The look of the page that shows a replay.
#include "tools/replay/map_page_text.h"

namespace kes::replay {

// The policy keeps a page that somebody passed on from loading anything.
constexpr std::string_view mapPageHead = R"html(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta http-equiv="Content-Security-Policy"
 content="default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'; img-src data:">
<title>Replay</title>
<style>
:root {
    --back: #f5f6f8; --panel: #ffffff; --map: #f1f3f5; --grid: #e3e7eb; --line: #dde2e7;
    --ink: #1d2530; --soft: #687381; --truth: #8b949e; --accent: #1f62b5; --wash: #e8f0fa;
    color-scheme: light;
}
:root[data-theme=dark] {
    --back: #11151a; --panel: #181d24; --map: #13171d; --grid: #1e242c; --line: #2a313a;
    --ink: #e2e7ed; --soft: #8e99a6; --truth: #77818c; --accent: #74b0f5; --wash: #1f2c3c;
    color-scheme: dark;
}
* { box-sizing: border-box; }
[hidden] { display: none !important; }
html, body { height: 100%; margin: 0; }
body {
    display: grid; grid-template: auto minmax(0, 1fr) auto / 236px minmax(0, 1fr);
    grid-template-areas: "head head" "side stage" "time time";
    background: var(--back); color: var(--ink);
    font: 13px/1.4 system-ui, -apple-system, "Segoe UI", Roboto, "Helvetica Neue", Arial, sans-serif;
    font-variant-numeric: tabular-nums;
}
header, footer { display: flex; align-items: center; gap: 14px; padding: 8px 14px; background: var(--panel); }
header { grid-area: head; border-bottom: 1px solid var(--line); }
footer { grid-area: time; border-top: 1px solid var(--line); flex-wrap: wrap; }
h1 { font-size: 15px; font-weight: 600; margin: 0; overflow: hidden; text-overflow: ellipsis; white-space: nowrap; }
.soft { color: var(--soft); white-space: nowrap; }
.push { margin-left: auto; }
button, input[type=search] {
    font: inherit; color: inherit; background: var(--panel); border: 1px solid var(--line); border-radius: 6px;
}
button { padding: 3px 9px; cursor: pointer; }
button:disabled { opacity: .45; cursor: default; }
button:not(:disabled):hover { background: var(--wash); }
:focus-visible { outline: 2px solid var(--accent); outline-offset: 1px; }
.choice { display: flex; align-items: center; }
.choice span { color: var(--soft); margin-right: 7px; }
.choice button { border-radius: 0; margin-left: -1px; }
.choice button:first-of-type { border-radius: 6px 0 0 6px; }
.choice button:last-of-type { border-radius: 0 6px 6px 0; }
button[aria-pressed=true] { background: var(--wash); color: var(--accent); }
#play { width: 36px; height: 32px; padding: 0; color: var(--accent); flex: none; }
#play svg { display: block; margin: auto; fill: currentColor; }
#clock { font-size: 17px; font-weight: 600; min-width: 66px; text-align: right; }
#slider { flex: 1 1 220px; min-width: 120px; accent-color: var(--accent); margin: 0; }
aside {
    grid-area: side; display: flex; flex-direction: column; min-height: 0;
    background: var(--panel); border-right: 1px solid var(--line);
}
#filter { margin: 10px 10px 8px; padding: 5px 9px; background: var(--back); }
#list { list-style: none; margin: 0; padding: 0 0 8px; overflow-y: auto; flex: 1; }
#list li {
    display: grid; grid-template-columns: 9px minmax(0, 1fr) auto; column-gap: 9px; align-items: center;
    padding: 4px 12px 5px; cursor: pointer; border-left: 3px solid transparent;
    content-visibility: auto; contain-intrinsic-size: auto 43px;
}
#list li:hover { background: var(--back); }
#list li.chosen { background: var(--wash); border-left-color: var(--accent); }
#list i { width: 9px; height: 9px; border-radius: 50%; }
#list b { font-weight: 600; }
#list b, #list small { overflow: hidden; text-overflow: ellipsis; white-space: nowrap; }
#list small { grid-column: 2 / 4; font-size: 12px; color: var(--soft); }
#list em { font-style: normal; font-size: 12px; color: var(--soft); }
#list li.absent b { font-weight: 400; color: var(--soft); }
#list li.absent i { background: none !important; box-shadow: inset 0 0 0 1.5px var(--line); }
#stage { grid-area: stage; display: flex; flex-direction: column; min-width: 0; min-height: 0; }
#mapbox { position: relative; flex: 1; min-height: 0; background: var(--map); overflow: hidden; }
canvas { position: absolute; inset: 0; width: 100%; height: 100%; display: block; touch-action: none; }
#map { cursor: grab; }
#map.over { cursor: pointer; }
#map.drag { cursor: grabbing; }
#tools { position: absolute; left: 12px; top: 12px; display: flex; flex-direction: column; }
#tools button { border-radius: 0; margin-bottom: -1px; min-width: 40px; height: 30px; }
#tools button:first-child { border-radius: 6px 6px 0 0; }
#tools button:last-child { border-radius: 0 0 6px 6px; }
#legend {
    position: absolute; right: 12px; top: 12px; padding: 7px 12px 8px; pointer-events: none; font-size: 12px;
    background: var(--panel); border: 1px solid var(--line); border-radius: 6px; opacity: .93;
}
#legend:empty { display: none; }
#legend div { display: flex; align-items: center; gap: 8px; line-height: 1.55; }
#legend i { width: 16px; height: 0; border-top: 3px solid; border-radius: 2px; }
#legend i.truth { border-top: 1.5px dashed var(--truth); border-radius: 0; }
#legend i.dot, #legend i.ring { width: 7px; height: 7px; margin: 0 4.5px; border: 1.5px solid; border-radius: 50%; }
#legend i.dot { background: currentColor; }
#detail {
    display: grid; grid-template-columns: 244px minmax(0, 1fr); height: 236px; flex: none;
    background: var(--panel); border-top: 1px solid var(--line);
}
#facts { padding: 10px 6px 6px 14px; overflow: auto; border-right: 1px solid var(--line); }
#facts h2 { font-size: 14px; margin: 0; overflow: hidden; text-overflow: ellipsis; white-space: nowrap; }
#facts p { margin: 0 0 6px; overflow: hidden; text-overflow: ellipsis; }
#facts dl { display: grid; grid-template-columns: 72px 1fr; margin: 0; line-height: 1.5; font-size: 12.5px; }
#facts dt { color: var(--soft); }
#facts dd { margin: 0; }
#profilebox { position: relative; }
#profile { cursor: crosshair; }
@media (max-width: 760px) {
    body { grid-template: auto auto minmax(0, 1fr) auto / minmax(0, 1fr);
           grid-template-areas: "head" "side" "stage" "time"; }
    aside { max-height: 22vh; border-right: 0; border-bottom: 1px solid var(--line); }
    #detail { grid-template-columns: minmax(0, 1fr); height: 300px; grid-template-rows: auto 1fr; }
    #facts { border-right: 0; max-height: 120px; }
}
</style>
</head>
<body>
<script id="data" type="application/json">
)html";

constexpr std::string_view mapPageBody = R"html(
</script>
<header>
<h1 id="title"></h1><span class="soft" id="summary"></span>
<button class="push" id="theme" title="Light or dark">Dark</button>
</header>
<aside>
<input type="search" id="filter" placeholder="Filter callsign or model" aria-label="Filter" autocomplete="off"
 spellcheck="false">
<ul id="list" aria-label="Aircraft"></ul>
</aside>
<section id="stage">
<div id="mapbox">
<canvas id="map" aria-label="Map"></canvas>
<div id="tools">
<button id="closer" title="Zoom in">+</button><button id="wider" title="Zoom out">&minus;</button>
<button id="fit" title="Show everything">Fit</button>
</div>
<div id="legend"></div>
</div>
<div id="detail" hidden>
<div id="facts"><h2 id="name"></h2><p class="soft" id="model"></p><dl id="values"></dl></div>
<div id="profilebox"><canvas id="profile"
 title="Click to go there; turn the wheel to look closer; double-click to see all" aria-label="Profile"></canvas></div>
</div>
</section>
<footer>
<button id="play" aria-label="Play" title="Play or pause (space)"><svg width="14" height="14" viewBox="0 0 14 14"><path
 id="playshape"/></svg></button>
<span id="clock"></span>
<input type="range" id="slider" step="any" aria-label="Time">
<span class="soft" id="end"></span>
<div class="choice" id="speed"><span>Speed</span></div>
<div class="choice" id="trail"><span>Trail</span></div>
<button id="follow" title="Keep the chosen aircraft in the middle">Follow</button>
</footer>
<script>
'use strict';
(() => {
)html";

} // namespace kes::replay
