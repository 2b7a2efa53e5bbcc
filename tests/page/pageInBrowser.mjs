// What the page's tests in a browser stand on: a browser for the file, an agent and a page for each test.
import assert from 'node:assert/strict';
import { mkdirSync } from 'node:fs';
import { after, afterEach, before, beforeEach, test as anyTest } from 'node:test';
import { Browser } from './Browser.mjs';
import { StandInAgent } from './StandInAgent.mjs';
import { accessUnits, record, size } from './stream.mjs';

const patience = { timeout: Number(process.env.VESK_PATIENCE ?? 60000) };
export const test = (name, body) => anyTest(name, patience, body);
export const alikeEnough = 34;  // decibels: other roundings of the colours, and not another picture
const shots = process.env.VESK_PAGE_PICTURES;
export const ctrlAltShift = 1 + 2 + 8;  // as the browser's driver counts modifiers

export const stream = record(45);
export const units = accessUnits(stream);
export let browser;
export let agent;
export let page;
export let address;

before(() => { browser = new Browser(); });
after(() => browser.close());

beforeEach(async () => {
  agent = new StandInAgent();
  address = await agent.listen();
  page = await browser.page();
}, patience);

afterEach(async () => {
  agent.close();
  await page.close();
  assert.deepEqual(page.complaints.filter((text) => !text.includes('WebSocket')), []);
});

export const brief = (words) => page.until(`document.querySelector('#status-words')?.textContent === '${words}'`);

export async function open() {
  await page.open(`${address}?key=${agent.key}`);
  await brief('Ready');
}

/** Up to the first picture. */
export async function watch(accessibility = true) {
  await open();
  await page.click('#start');
  await agent.until(() => agent.ops().some(({ op }) => op === 'start'));
  agent.control({ op: 'state', state: 'starting' });
  agent.control({ op: 'started', ...size, accessibility });
  agent.video(units[0]);
  await page.until("!document.querySelector('#canvas').hidden");
  await brief('Watching');
}

export async function shot(name) {
  if (!shots) return;
  mkdirSync(shots, { recursive: true });
  await page.picture(`${shots}/${name}.png`);
}

/** The rest of the stream, in parts that no decoder is a second behind with. */
export async function playOn() {
  const part = 20;
  for (let from = 1; from < units.length; from += part) {
    units.slice(from, from + part).forEach((unit) => agent.video(unit));
    const all = Math.min(from + part, units.length);
    await page.until(`document.querySelector('#figure-decoded').textContent === '${all}'`);
  }
}

export const kept = () => agent.inputs().filter(({ e }) => e !== 'move');
export const canvasPixels = () => page.evaluate(`(() => {
  const canvas = document.querySelector('#canvas');
  const { data } = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);
  let text = '';
  for (let i = 0; i < data.length; i += 4) text += String.fromCharCode(data[i], data[i + 1], data[i + 2]);
  return btoa(text);
})()`).then((text) => Buffer.from(text, 'base64'));
