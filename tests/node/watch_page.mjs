// SPDX-License-Identifier: MIT
// Opens a page in a real browser and waits until every condition (an expression of the page) holds; fails when one does
// not within the time, or when a script of the page threw or complained.
// usage: node watch_page.mjs ADDRESS PROFILE_FOLDER CONDITION...
import { openPage } from './browser.mjs';

const PATIENCE_MS = 40000;
const [address, profile, ...conditions] = process.argv.slice(2);
const page = await openPage(address, profile);
const last = performance.now() + PATIENCE_MS;
const faults = [];
for (const expression of conditions) {
  for (;;) {
    const result = await page.evaluate(`Boolean(${expression})`);
    if (result.value === true) break;
    if (performance.now() > last) {
      faults.push(`the page never had ${expression}${result.description ? `: ${result.description}` : ''}`);
      break;
    }
    await new Promise(resolve => setTimeout(resolve, 50));
  }
}
faults.push(...page.complaints);
await page.close();
for (const fault of faults) console.log(fault);
process.exit(faults.length > 0 ? 1 : 0);
