import { Connection } from './connection.js';
import { Controls } from './controls.js';
import { Display } from './display.js';
import { Figures } from './figures.js';
import { Hands, platformOf } from './hands.js';
import * as session from './session.js';
import { tabStorage, takeKey } from './settings.js';
import { Video } from './video.js';
import { decoderFails, handsWords, noDecoder, words } from './words.js';

const figuresEvery = 500;
const begunPlace = 'vesk-begun';  // that a session of this tab runs, which a reload goes on with
const element = (id) => document.getElementById(id);

/** Puts the parts together: what one of them tells goes to the others. */
class Page {
  #state = session.beginning;
  #trouble = Video.isPossible ? undefined : noDecoder;  // of the browser's
  #takesVideo = true;
  #knowsSession = false;  // the one that runs is this page's, or was taken up by it
  #storage = tabStorage(window);
  #display = new Display();
  #figures = new Figures();
  #video = new Video(this);
  #connection;
  #controls;
  #hands;

  constructor() {
    const key = takeKey(location, history, this.#storage);
    this.#connection = new Connection(`ws://${location.host}/viewer`, key, this);
    this.#controls = new Controls(this, this.#storage);
    const platform = platformOf(navigator);
    this.#hands = new Hands({ stage: element('stage'), canvas: element('canvas'),
      field: element('field'), owner: this, platform });
    if (platform === 'mac') {
      element('platform-words').append(' Command is the Windows key there, and Option is Alt.');
    }
    this.#listen();
    this.changed();
    this.#connection.open();
  }

  // What the connection tells.

  opened() {
    this.#become(session.opened(this.#state));
  }

  lost() {
    this.#endPicture();
    this.#become(session.lost(this.#state));
  }

  refused(code, reason) {
    this.#endPicture();
    this.#become(session.refused(this.#state, code, reason));
  }

  text({ program, note, dropped }) {
    if (program) this.#programIs(program);
    if (note) this.#tell(note);
    if (dropped) this.#figures.lost(dropped);
  }

  control(message, text = '') {
    if (text === '') return this.#request(message);
    this.#display.message('heard', text);
    if (message.op === 'started' || message.op === 'state') this.#takesVideo = true;
    if (message.op === 'fault' || message.op === 'denied') this.#endSession();
    this.#become(session.told(this.#state, message));
  }

  video(frame, bytes) {
    if (!this.#takesVideo || !Video.isPossible) return;
    const now = performance.now();
    const streamTime = this.#video.add(frame, now);
    this.#figures.arrived(now, bytes, streamTime);
  }

  // What the decoder tells.

  picture(frame, { streamTime }) {
    if (this.#takesVideo) {
      const isFirst = !this.#display.hasPicture;
      const size = this.#display.draw(frame);
      this.#figures.drawn(performance.now(), streamTime, size);
      this.#trouble = undefined;
      this.#become(session.watched(this.#state));
      if (isFirst) this.#show();
    }
    frame.close();
  }

  needsKeyFrame() {
    this.#request({ op: 'keyframe' });
  }

  dropped(count) {
    this.#figures.lost(count);
  }

  fails(reason) {
    this.#trouble = decoderFails(reason);
    this.#endPicture();
    this.#show();
  }

  // What the viewer does.

  start() {
    this.#trouble = Video.isPossible ? undefined : noDecoder;
    this.#endPicture();
    this.#takesVideo = false;  // the last of a session before may still be on its way
    this.#knowsSession = true;
    this.#storage.setItem(begunPlace, 'yes');
    this.#become(session.requested(this.#state));
    this.#request(this.#controls.startRequest);
  }

  stop() {
    this.#hands.active = false;
    this.#request({ op: 'stop' });
    this.#endSession();
    this.#takesVideo = false;  // the last of it may still be on its way
    this.#become(session.stopped(this.#state));
  }

  changed() {
    if (!this.#controls) return;
    this.#display.whole = this.#controls.settings.whole;
    this.#show();
  }

  async fullScreen() {
    if (document.fullscreenElement) return document.exitFullscreen();
    await document.documentElement.requestFullscreen({ navigationUI: 'hide' });
    this.#focusScreen();
    // Where it is possible, what the browser or the system would take comes here.
    await navigator.keyboard?.lock?.().catch(() => {});
  }

  type(text) {
    this.#hands.type(text);
    this.#focusScreen();
  }

  // What the hands tell.

  input(message) {
    this.#connection.input(message);
  }

  waiting() {
    return this.#connection.waiting;
  }

  tooLong(characters) {
    this.#display.toast(`That is too much to type at once: ${characters} characters.`);
  }

  async command(name) {
    if (name === 'fullScreen') return this.fullScreen();
    if (name === 'paste') return this.#paste();
    if (document.fullscreenElement) await document.exitFullscreen();
    return element(element('stop').hidden ? 'start' : 'stop').focus();
  }

  /** The browser may ask the viewer first, or have no such thing. */
  async #paste() {
    try {
      this.type(await navigator.clipboard.readText());
    } catch {
      this.#controls.askForText();
    }
  }

  #tell(note) {
    this.#display.message('heard', note);
    this.#display.toast(note);
  }

  #programIs(program) {
    if (program === 'gone') this.#endSession();
    this.#become(session.programIs(this.#state, program));
  }

  /**
   * A session that this page has not asked for: what was held in it is let go of. Input is allowed as
   * the viewer chose in this tab before a reload, and not where somebody else began the session.
   */
  #takeUp() {
    this.#knowsSession = true;
    this.#request({ op: 'input', allowed: false });
    if (!this.#storage.getItem(begunPlace)) this.#controls.withdrawInput();
    else if (this.#controls.settings.input) this.#request({ op: 'input', allowed: true });
  }

  #request(message) {
    this.#display.message('sent', JSON.stringify(message));
    this.#connection.control(message);
  }

  #endSession() {
    this.#knowsSession = false;
    this.#storage.removeItem(begunPlace);
    this.#endPicture();
  }

  #endPicture() {
    this.#hands.forget();
    this.#video.reset();
    this.#figures.restart();
    this.#display.clear();
  }

  #become(state) {
    if (state === this.#state) return;
    this.#state = state;
    if (state.session === 'running' && !this.#knowsSession) this.#takeUp();
    this.#show();
  }

  #show() {
    const allowed = this.#controls.settings.input;
    const active = this.#state.session === 'running' && allowed && this.#state.mayControl &&
      !this.#trouble && this.#display.hasPicture;
    const begins = active && !this.#hands.active;
    this.#hands.active = active;
    element('field').disabled = !active;
    this.#display.say(this.#trouble ?? words(this.#state));
    this.#display.sayOfHands(handsWords(this.#state, allowed));
    this.#controls.show(this.#state);
    this.#controls.showHands(active);
    if (begins) this.#focusScreen();
  }

  /** Only where the keyboard is nowhere else, or on the button that started this. */
  #focusScreen() {
    const at = document.activeElement;
    const free = !at || at === document.body || at.closest('.buttons, .card, dialog');
    if (free && !element('field').disabled) element('field').focus({ preventScroll: true });
  }

  #listen() {
    element('card-action').addEventListener('click', ({ target }) => {
      if (target.dataset.action === 'retry') location.reload();
      else this.start();
    });
    element('field').addEventListener('focus', () => this.#showKeys(true));
    element('field').addEventListener('blur', () => this.#showKeys(false));
    document.addEventListener('fullscreenchange', () => {
      if (!document.fullscreenElement) navigator.keyboard?.unlock?.();
    });
    document.addEventListener('keydown', (event) => this.#shortcut(event));
    setInterval(() => this.#display.figures(this.#figures.at(performance.now())), figuresEvery);
  }

  /** Full screen's key also works where the keyboard is on the bar. */
  #shortcut(event) {
    const own = event.ctrlKey && event.altKey && event.shiftKey && event.code === 'KeyF';
    if (!own || event.defaultPrevented) return;
    event.preventDefault();
    this.fullScreen();
  }

  #showKeys(shown) {
    element('stage').classList.toggle('has-keys', shown);
  }
}

new Page();
