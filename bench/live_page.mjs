// SPDX-License-Identifier: MIT
// How smoothly the live page draws a full airport, in a real browser without a graphics card: frames a second and the
// time that a frame takes of the page's thread, beside an empty page in the same run.
// usage: node bench/live_page.mjs BUILD_DIR [LIVE [STATIC [SECONDS]]]
import { execFile } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { createServer } from 'node:http';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { openPage } from '../tests/node/browser.mjs';

const [build, live = 300, fixed = 500, seconds = 10] = process.argv.slice(2);
const LAT = 48.35;
const LON = 11.78;
const METRE = 1 / 111120;

/// The page as the simulator serves it.
async function pageText() {
  const simulator = execFile(join(build, 'world/kestrelune-simulator'), ['--live', '0', '--minutes', '1']);
  const address = await new Promise((resolve, reject) => {
    let text = '';
    simulator.stdout.on('data', more => {
      text += more;
      const found = /^live page at (\S+)/m.exec(text);
      if (found) resolve(found[1]);
    });
    simulator.on('exit', () => reject(new Error('the simulator ended')));
  });
  const text = await (await fetch(address)).text();
  simulator.kill();
  return text;
}

/// Static aircraft on stands in rows; of the live ones half taxi round the field, half fly within 20 miles.
function poseOf(i, t) {
  if (i < fixed) return { lat: LAT + (i % 25) * 60 * METRE, lon: LON + Math.floor(i / 25) * 90 * METRE, above: 8, heading: 90, speed: 0 };
  const onGround = i % 2 === 0;
  const radius = onGround ? 300 + i : 2000 + i * 40;
  const speed = onGround ? 15 : 250;
  const angle = i + speed * 0.5144 * t / radius;
  return {
    lat: LAT + radius * Math.cos(angle) * METRE, lon: LON + radius * Math.sin(angle) * METRE * 1.5,
    above: onGround ? 8 : 1000 + i * 20, heading: (angle * 180 / Math.PI + 90) % 360, speed,
  };
}

function serve(html, count) {
  const stands = Array.from({ length: Number(fixed) + 100 }, (_, i) =>
    ({ ...poseOf(i < fixed ? i : 0, 0), id: `S${i}`, radius: 25 }));
  const page = html.replace(/\{[^{}]*"place":"[^"]*"[^{}]*\}/, JSON.stringify({ place: 'EDDM', stands }));
  if (page === html) throw new Error('the page has no start data');
  const server = createServer((request, response) => {
    if (request.url !== '/events') {
      response.setHeader('Content-Type', 'text/html; charset=utf-8');
      response.end(page);
      return;
    }
    response.setHeader('Content-Type', 'text/event-stream');
    const begin = performance.now();
    let told = false;
    const tell = () => {
      const t = (performance.now() - begin) / 1000;
      const message = { t: Math.round(t * 1000) };
      if (!told)
        message.new = Array.from({ length: count + 1 }, (_, i) =>
          ({ id: i + 1, title: `Aircraft ${i}`, tail: i <= fixed && i > 0 ? `DLH${i}*` : `DLH${i}`, model: 'A320' }));
      message.move = [];
      for (let i = 0; i <= count; ++i) {
        if (told && i > 0 && i <= fixed) continue;
        const p = i === 0 ? { lat: LAT, lon: LON, above: 8, heading: 0, speed: 0 } : poseOf(i - 1, t);
        message.move.push([i + 1, p.lat, p.lon, 1487 + p.above, p.above, p.heading, p.speed, 0, 1]);
      }
      told = true;
      response.write(`data: ${JSON.stringify(message)}\n\n`);
    };
    tell();
    const timer = setInterval(tell, 200);
    request.on('close', () => clearInterval(timer));
  });
  return new Promise(resolve => server.listen(0, '127.0.0.1', () => resolve(server)));
}

async function measure(name, html, count) {
  const server = await serve(html, count);
  const profile = mkdtempSync(join(tmpdir(), 'live-page-'));
  const page = await openPage(`http://127.0.0.1:${server.address().port}/`, profile);
  await page.evaluate(`new Promise(resolve => {
    const look = () => document.getElementById('link').textContent.startsWith('live') ? setTimeout(resolve, 1500) : setTimeout(look, 50);
    look(); })`);
  await page.evaluate("document.getElementById('toAll').click()");
  const before = await page.metrics();
  const { value: frames } = await page.evaluate(`new Promise(resolve => {
    const times = [];
    const step = now => { times.push(now); now - times[0] < ${seconds * 1000} ? requestAnimationFrame(step) : resolve(times); };
    requestAnimationFrame(step); })`);
  const after = await page.metrics();
  const gaps = frames.slice(1).map((t, i) => t - frames[i]).sort((a, b) => a - b);
  const perFrame = (after.TaskDuration - before.TaskDuration) * 1000 / gaps.length;
  console.log(`${name}: ${(gaps.length / seconds).toFixed(1)} frames/s, gaps median ${gaps[gaps.length >> 1].toFixed(1)} ms, ` +
    `99 % ${gaps[Math.floor(gaps.length * 0.99)].toFixed(1)} ms; ${perFrame.toFixed(2)} ms of the page's thread a frame`);
  for (const complaint of page.complaints) console.log(complaint);
  await page.close();
  server.close();
  server.closeAllConnections();
  rmSync(profile, { recursive: true, force: true, maxRetries: 20 }); // its helpers end a little later
}

const html = await pageText();
await measure('empty', html, 0);
await measure(`${live} live and ${fixed} static`, html, Number(live) + Number(fixed));
