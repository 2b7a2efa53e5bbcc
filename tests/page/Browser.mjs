import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

/**
 * A Chromium of its own without a screen, driven through a pipe, with one window, which is the dearest
 * part of it. A page is a tab there; one after another they share a process. Ends with `close`.
 */
export class Browser {
  #folder = mkdtempSync(join(tmpdir(), 'vesk-page-'));
  #process = spawn('chromium', ['--headless=new', '--no-sandbox', '--disable-gpu', '--no-first-run',
    '--disable-background-networking', '--disable-component-update', '--disable-sync',
    '--disable-breakpad', '--force-color-profile=srgb', '--hide-scrollbars', '--in-process-gpu',
    '--renderer-process-limit=1', '--no-startup-window', '--remote-debugging-pipe',
    `--user-data-dir=${this.#folder}`],
  { stdio: ['ignore', 'ignore', 'ignore', 'pipe', 'pipe'] });
  #context;  // of the one window, which opens with the first page
  #calls = new Map();
  #listeners = new Map();
  #last = 0;
  #received = '';

  constructor() {
    this.#process.stdio[4].setEncoding('utf8').on('data', (data) => this.#take(data));
  }

  /**
   * A page with nothing remembered from another one: what it keeps and what it is told to pretend
   * belong to its tab, what it was permitted ends with it, and each test's agent has an origin of its
   * own by its port.
   */
  async page() {
    this.#context ??= await this.#openWindow();
    const targetId = await this.#openTab(this.#context);
    const { sessionId } = await this.ask('Target.attachToTarget', { targetId, flatten: true });
    const page = new Page(this, sessionId, targetId);
    await page.ready();
    return page;
  }

  ask(method, params = {}, sessionId = undefined) {
    const id = ++this.#last;
    this.#process.stdio[3].write(`${JSON.stringify({ id, method, params, sessionId })}\0`);
    return new Promise((resolve, reject) => this.#calls.set(id, { resolve, reject, method }));
  }

  /** Permissions of the origin that is shown. */
  permit(origin, permissions) {
    return this.ask('Browser.grantPermissions',
      { origin, permissions, browserContextId: this.#context });
  }

  async end(page) {
    await this.ask('Target.closeTarget', { targetId: page.tab });
    await this.ask('Browser.resetPermissions', { browserContextId: this.#context });
    this.#listeners.delete(page.session);
  }

  listen(sessionId, listener) {
    this.#listeners.set(sessionId, listener);
  }

  async close() {
    const ended = new Promise((done) => this.#process.on('exit', done));
    await this.ask('Browser.close');
    await ended;
    rmSync(this.#folder, { recursive: true, force: true, maxRetries: 5 });
  }

  /** Where nothing is written to the disk, and with a tab that stays, since the last one closes it. */
  async #openWindow() {
    const { browserContextId } = await this.ask('Target.createBrowserContext');
    await this.#openTab(browserContextId);
    return browserContextId;
  }

  async #openTab(browserContextId) {
    const { targetId } = await this.ask('Target.createTarget', { url: 'about:blank', browserContextId });
    return targetId;
  }

  #take(data) {
    const parts = (this.#received + data).split('\0');
    this.#received = parts.pop();
    for (const part of parts) {
      const message = JSON.parse(part);
      const call = this.#calls.get(message.id);
      this.#calls.delete(message.id);
      if (!call) this.#listeners.get(message.sessionId)?.(message);
      else if (message.error) call.reject(new Error(`${call.method}: ${message.error.message}`));
      else call.resolve(message.result);
    }
  }
}

/** A page of a browser, and its viewer's hands. What its console complains of is in `complaints`. */
export class Page {
  complaints = [];
  #browser;
  #loaded = () => {};

  constructor(browser, session, tab) {
    this.#browser = browser;
    this.session = session;
    this.tab = tab;
    browser.listen(session, ({ method, params }) => this.#hear(method, params));
  }

  async ready() {
    for (const domain of ['Page', 'Runtime', 'Log']) await this.ask(`${domain}.enable`);
    await this.size(1280, 800);
  }

  close() {
    return this.#browser.end(this);
  }

  ask(method, params) {
    return this.#browser.ask(method, params, this.session);
  }

  size(width, height, deviceScaleFactor = 1) {
    return this.ask('Emulation.setDeviceMetricsOverride',
      { width, height, deviceScaleFactor, mobile: false });
  }

  scheme(value) {
    return this.ask('Emulation.setEmulatedMedia',
      { features: [{ name: 'prefers-color-scheme', value }] });
  }

  async evaluate(expression) {
    const { result, exceptionDetails } = await this.ask('Runtime.evaluate',
      { expression, awaitPromise: true, returnByValue: true });
    if (exceptionDetails) {
      throw new Error(exceptionDetails.exception?.description ?? exceptionDetails.text);
    }
    return result.value;
  }

  /** Comes back when the expression holds in the page. */
  until(expression) {
    return this.evaluate(`new Promise((done) => {
      const look = () => (${expression}) ? done(true) : setTimeout(look, 10);
      look();
    })`);
  }

  open(url) {
    return this.#load('Page.navigate', { url });
  }

  reload() {
    return this.#load('Page.reload');
  }

  async picture(path) {
    const { data } = await this.ask('Page.captureScreenshot', { format: 'png' });
    writeFileSync(path, Buffer.from(data, 'base64'));
  }

  async key(type, code, { key = '', modifiers = 0, repeat = false } = {}) {
    await this.ask('Input.dispatchKeyEvent', { type: type === 'down' ? 'rawKeyDown' : 'keyUp', code,
      key, modifiers, autoRepeat: repeat });
  }

  async mouse(type, x, y, more = {}) {
    await this.ask('Input.dispatchMouseEvent', { type, x, y, ...more });
  }

  click(selector) {
    return this.evaluate(`document.querySelector(${JSON.stringify(selector)}).click()`);
  }

  text(selector) {
    return this.evaluate(`document.querySelector(${JSON.stringify(selector)}).textContent`);
  }

  async #load(method, params) {
    const loaded = new Promise((done) => { this.#loaded = done; });
    await this.ask(method, params);
    await loaded;
  }

  #hear(method, params) {
    if (method === 'Page.loadEventFired') this.#loaded();
    if (method === 'Log.entryAdded' && params.entry.level === 'error') {
      this.complaints.push(params.entry.text);
    } else if (method === 'Runtime.exceptionThrown') {
      this.complaints.push(params.exceptionDetails.exception?.description ??
        params.exceptionDetails.text);
    }
  }
}
