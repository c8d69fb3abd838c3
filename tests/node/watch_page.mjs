// SPDX-License-Identifier: MIT
// Opens a page in a real browser and waits until every condition (an expression of the page) holds; fails when one does
// not within the time, or when a script of the page threw or complained.
// usage: node watch_page.mjs ADDRESS PROFILE_FOLDER CONDITION...
import { spawn } from 'node:child_process';

const PATIENCE_MS = 40000;
const [address, profile, ...conditions] = process.argv.slice(2);
// The browser's own protocol over two pipes: no port that somebody else could hold, no time of its own that ends the page.
const browser = spawn('chromium', ['--headless', '--no-sandbox', '--disable-gpu', '--window-size=1280,800',
  `--user-data-dir=${profile}`, '--remote-debugging-pipe'], { stdio: ['ignore', 'ignore', 'ignore', 'pipe', 'pipe'] });
const waiting = new Map(); // answers to come, by number
const complaints = [];
let count = 0;
let unread = '';

function ask(method, params = {}, sessionId = undefined) {
  count += 1;
  browser.stdio[3].write(JSON.stringify({ id: count, method, params, sessionId }) + '\0');
  return new Promise((resolve, reject) => waiting.set(count, { resolve, reject, method }));
}

function take({ id, result, error, method, params }) {
  if (id) {
    const answer = waiting.get(id);
    waiting.delete(id);
    if (error) answer.reject(new Error(`${answer.method}: ${error.message}`));
    else answer.resolve(result);
  }
  if (method === 'Runtime.exceptionThrown') {
    const { exception, text } = params.exceptionDetails;
    complaints.push(exception?.description ?? text);
  }
  if (method === 'Runtime.consoleAPICalled' && params.type === 'error') complaints.push(JSON.stringify(params.args));
  if (method === 'Log.entryAdded' && params.entry.level === 'error') complaints.push(params.entry.text);
}

function end(lines) {
  for (const line of lines) console.log(line);
  process.exitCode = lines.length > 0 ? 1 : 0;
  browser.kill();
}

browser.stdio[3].on('error', () => {}); // the end of the browser tells why
browser.stdio[4].setEncoding('utf8').on('data', text => {
  const messages = (unread + text).split('\0');
  unread = messages.pop();
  messages.forEach(message => take(JSON.parse(message)));
});
browser.on('exit', code => {
  if (process.exitCode === undefined) end([`the browser ended by itself (${code})`]);
  process.exit();
});

try {
  const { targetId } = await ask('Target.createTarget', { url: 'about:blank' });
  const { sessionId } = await ask('Target.attachToTarget', { targetId, flatten: true });
  const inPage = (method, params) => ask(method, params, sessionId);
  await inPage('Runtime.enable');
  await inPage('Log.enable');
  await inPage('Page.navigate', { url: address });
  const last = performance.now() + PATIENCE_MS;
  const missing = [];
  for (const expression of conditions) {
    for (;;) {
      const { result } = await inPage('Runtime.evaluate', { expression: `Boolean(${expression})`, returnByValue: true });
      if (result.value === true) break;
      if (performance.now() > last) {
        missing.push(`the page never had ${expression}${result.description ? `: ${result.description}` : ''}`);
        break;
      }
      await new Promise(resolve => setTimeout(resolve, 50));
    }
  }
  end([...missing, ...complaints]);
} catch (error) {
  end([error.message, ...complaints]);
}
