// SPDX-License-Identifier: MIT
// A page in a real browser, spoken to over two pipes: no port that somebody else could hold, no time of its own that
// ends the page.
import { spawn } from 'node:child_process';

/// Opens the address. `complaints` gets what scripts of the page throw or complain of; `evaluate` gives the value of an
/// expression, or of the promise that it makes; `close` ends the browser.
export async function openPage(address, profile) {
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
    } else if (method === 'Runtime.exceptionThrown') {
      const { exception, text } = params.exceptionDetails;
      complaints.push(exception?.description ?? text);
    } else if (method === 'Runtime.consoleAPICalled' && params.type === 'error') {
      complaints.push(JSON.stringify(params.args));
    } else if (method === 'Log.entryAdded' && params.entry.level === 'error') {
      complaints.push(params.entry.text);
    }
  }

  browser.stdio[3].on('error', () => {}); // the end of the browser tells why
  browser.stdio[4].setEncoding('utf8').on('data', text => {
    const messages = (unread + text).split('\0');
    unread = messages.pop();
    messages.forEach(message => take(JSON.parse(message)));
  });
  browser.on('exit', code => {
    for (const { reject } of waiting.values()) reject(new Error(`the browser ended by itself (${code})`));
  });

  const { targetId } = await ask('Target.createTarget', { url: 'about:blank' });
  const { sessionId } = await ask('Target.attachToTarget', { targetId, flatten: true });
  const inPage = (method, params) => ask(method, params, sessionId);
  for (const domain of ['Runtime', 'Log', 'Performance']) await inPage(`${domain}.enable`);
  await inPage('Page.navigate', { url: address });
  return {
    complaints,
    async evaluate(expression) {
      return (await inPage('Runtime.evaluate', { expression, returnByValue: true, awaitPromise: true })).result;
    },
    /// By name, as of this moment: "TaskDuration" in seconds, "JSHeapUsedSize" in bytes.
    async metrics() {
      const { metrics } = await inPage('Performance.getMetrics');
      return Object.fromEntries(metrics.map(({ name, value }) => [name, value]));
    },
    close() {
      waiting.clear();
      const ended = new Promise(resolve => browser.on('exit', resolve));
      browser.kill();
      return ended;
    },
  };
}
