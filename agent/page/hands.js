import { Keyboard } from './keyboard.js';
import { fraction, Pointer } from './pointer.js';
import { mostPasted, pieces } from './text.js';

const mostWaiting = 65536;  // bytes; moves are left out while more wait

/** Which of a keyboard's ways the browser's machine has. */
export function platformOf({ userAgentData, platform = '' }) {
  const name = userAgentData?.platform || platform;
  if (/^win/i.test(name)) return 'windows';
  return /^mac|^iP/i.test(name) ? 'mac' : 'other';
}

/** Ctrl+Alt+Shift with a key is this page's; a keyboard alone would not get away from the screen. */
const pageKeys = new Map([
  ['KeyF', 'fullScreen'], ['KeyV', 'paste'], ['Escape', 'leave'], ['KeyT', 'leave'],
]);

/**
 * The viewer's hands on the picture: pointer, keys and text, as input messages. While they are not
 * `active` nothing is sent. Lets go of everything when the keyboard goes elsewhere.
 *
 * `field` is the text field over the picture that has the keyboard, since an input method writes into
 * nothing else. owner: input(message), waiting(), command(name), tooLong(characters).
 */
export class Hands {
  #owner;
  #canvas;
  #field;
  #keyboard;
  #pointer;
  #pressing = false;  // since a press on the picture, and nowhere else
  #active = false;

  constructor({ stage, canvas, field, owner, platform }) {
    this.#owner = owner;
    this.#canvas = canvas;
    this.#field = field;
    this.#keyboard = new Keyboard({
      send: (message) => owner.input(message),
      platform,
      later: (action, milliseconds) => {
        const timer = setTimeout(action, milliseconds);
        return () => clearTimeout(timer);
      },
    });
    this.#pointer = new Pointer({ send: (message) => this.#sendPointer(message) });
    this.#listenToPointer(stage);
    this.#listenToKeys(field);
    this.#listenToText(field);
    window.addEventListener('blur', () => this.release());
    window.addEventListener('pagehide', () => this.release());
    document.addEventListener('visibilitychange', () => this.release());
  }

  get active() {
    return this.#active;
  }

  set active(active) {
    if (!active) this.release();
    this.#active = active;
  }

  release() {
    if (!this.#active) return;
    this.#pressing = false;
    this.#pointer.releaseAll();
    this.#keyboard.releaseAll();
  }

  /** There is nobody to tell any more. */
  forget() {
    this.#pointer.forget();
    this.#keyboard.forget();
  }

  /** Types a text at the host. */
  type(text) {
    if (!this.#active) return;
    if (text.length > mostPasted) return this.#owner.tooLong(text.length);
    for (const piece of pieces(text)) this.#owner.input({ t: 'u', s: piece });
  }

  #sendPointer(message) {
    if (message.e === 'move' && this.#owner.waiting() > mostWaiting) return;
    this.#owner.input(message);
  }

  #listenToPointer(stage) {
    const on = (name, action) => stage.addEventListener(name, action, { passive: false });
    for (const name of ['pointerdown', 'pointermove', 'pointerup']) {
      on(name, (event) => this.#point(event));
    }
    on('pointercancel', () => this.#active && this.#pointer.releaseAll());
    on('lostpointercapture', () => this.#active && this.#pointer.releaseAll());
    on('wheel', (event) => {
      if (!this.#active) return;
      event.preventDefault();
      this.#pointer.wheel(this.#place(event), event, this.#keyboard.maskFor(event));
    });
    on('contextmenu', (event) => this.#active && event.preventDefault());
    // The back and forward buttons, and what the middle one pastes or scrolls.
    for (const name of ['mousedown', 'mouseup', 'auxclick']) {
      on(name, (event) => this.#active && event.preventDefault());
    }
  }

  #point(event) {
    if (!this.#active || !event.isPrimary) return;
    if (event.type === 'pointerdown') this.#takeHold(event);
    const mask = this.#keyboard.maskFor(event);
    this.#pointer.at(this.#place(event), this.#pressing ? event.buttons : 0, mask);
    if (event.buttons === 0) this.#pressing = false;
  }

  #takeHold(event) {
    this.#field.focus({ preventScroll: true });
    if (event.target !== this.#canvas) return;
    this.#pressing = true;
    event.currentTarget.setPointerCapture(event.pointerId);
  }

  #place({ clientX, clientY }) {
    const area = this.#canvas.getBoundingClientRect();
    return {
      x: fraction(clientX, area.left, area.width),
      y: fraction(clientY, area.top, area.height),
    };
  }

  #listenToKeys(field) {
    field.addEventListener('keydown', (event) => this.#keyDown(event));
    field.addEventListener('keyup', (event) => {
      if (this.#active && this.#keyboard.up(event)) event.preventDefault();
    });
    field.addEventListener('blur', () => this.release());
  }

  #keyDown(event) {
    if (event.isComposing || event.keyCode === 229) return;  // an input method's
    const command = event.ctrlKey && event.altKey && event.shiftKey && pageKeys.get(event.code);
    if (command) {
      event.preventDefault();
      this.release();
      this.#owner.command(command);
    } else if (this.#active && this.#keyboard.down(event)) {
      event.preventDefault();
    }
  }

  /** What comes by no key: an input method's text, an emoji of the system's own window, a paste. */
  #listenToText(field) {
    let composed;
    field.addEventListener('compositionend', (event) => {
      composed = event.data;
      this.type(event.data);
      field.value = '';
    });
    field.addEventListener('input', (event) => {
      if (event.isComposing) return;
      // Some browsers tell of the end of a composition once more.
      const again = event.inputType === 'insertFromComposition' && event.data === composed;
      if (!again) this.type(field.value);
      composed = undefined;
      field.value = '';
    });
    field.addEventListener('paste', (event) => {
      event.preventDefault();
      this.type(event.clipboardData.getData('text/plain'));
    });
  }
}
