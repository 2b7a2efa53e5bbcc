import { placement } from './placement.js';

const element = (id) => document.getElementById(id);
const mostMessages = 200;
const toastTime = 6000;
const actions = { start: 'Start session', again: 'Ask again', retry: 'Try again' };

/** The picture, the words about it, the figures and the messages. Shows what it is given. */
export class Display {
  #stage = element('stage');
  #canvas = element('canvas');
  #context = this.#canvas.getContext('2d', { alpha: false });
  #whole = false;
  #shown = '';
  #toastTimer;

  constructor() {
    new ResizeObserver(() => this.#place()).observe(this.#stage);
    this.#watchPixelRatio();
  }

  set whole(whole) {
    this.#whole = whole;
    this.#place();
  }

  /** Draws a picture and gives its size. */
  draw(frame) {
    const { displayWidth: width, displayHeight: height } = frame;
    if (this.#canvas.width !== width || this.#canvas.height !== height) {
      this.#canvas.width = width;
      this.#canvas.height = height;
      this.#place();
    }
    this.#context.drawImage(frame, 0, 0);
    if (this.#canvas.hidden) this.#showPicture(true);
    return { width, height };
  }

  get hasPicture() {
    return !this.#canvas.hidden;
  }

  clear() {
    this.#showPicture(false);
  }

  /** The words for a state; on the card where there is no picture. */
  say({ brief, tone, title, text, action }) {
    const shown = JSON.stringify([brief, tone, title, text, action]);
    if (shown === this.#shown) return;
    this.#shown = shown;
    element('status').dataset.tone = tone;
    element('status-words').textContent = brief;
    element('card').dataset.tone = tone;
    element('card-title').textContent = title;
    element('card-text').textContent = text;
    const button = element('card-action');
    button.hidden = !action;
    button.dataset.action = action ?? '';
    button.textContent = actions[action] ?? '';
    element('announcement').textContent = element('card').hidden ? brief : `${title}. ${text}`;
    document.title = `${brief} – Vesk Remote`;
  }

  sayOfHands(text) {
    element('hands-words').textContent = text;
  }

  /** Something that the viewer should know in passing. */
  toast(text) {
    clearTimeout(this.#toastTimer);
    element('toast').textContent = text;
    element('toast').hidden = false;
    this.#toastTimer = setTimeout(() => { element('toast').hidden = true; }, toastTime);
  }

  figures({ framesPerSecond, kilobitsPerSecond, delay, size, decoded, dropped }) {
    const show = (id, text) => { element(`figure-${id}`).textContent = text; };
    show('frames', size ? framesPerSecond : '–');
    show('bits', size ? kilobitsPerSecond : '–');
    show('delay', delay === undefined ? '–' : `${Math.round(delay)} ms`);
    show('size', size ? `${size.width} × ${size.height}` : '–');
    show('decoded', decoded);
    show('dropped', dropped);
  }

  message(direction, text) {
    const list = element('messages');
    const atEnd = list.scrollTop + list.clientHeight >= list.scrollHeight - 4;
    const line = document.createElement('li');
    const time = document.createElement('time');
    time.textContent = new Date().toTimeString().slice(0, 8);
    const arrow = document.createElement('span');
    arrow.className = direction;
    arrow.textContent = direction === 'sent' ? ' → ' : ' ← ';
    line.append(time, arrow, text);
    list.append(line);
    while (list.children.length > mostMessages) list.firstChild.remove();
    element('message-count').textContent = list.children.length;
    if (atEnd) list.scrollTop = list.scrollHeight;
  }

  #showPicture(shown) {
    this.#canvas.hidden = !shown;
    this.#stage.classList.toggle('watching', shown);
    element('card').hidden = shown;
  }

  /** Another monitor may have another one, without the page's size in its own units changing. */
  #watchPixelRatio() {
    matchMedia(`(resolution: ${window.devicePixelRatio}dppx)`).addEventListener('change', () => {
      this.#place();
      this.#watchPixelRatio();
    }, { once: true });
  }

  #place() {
    const room = { width: this.#stage.clientWidth, height: this.#stage.clientHeight };
    const at = placement(this.#canvas, room, window.devicePixelRatio, this.#whole);
    for (const name of ['left', 'top', 'width', 'height']) {
      this.#canvas.style[name] = `${at[name]}px`;
    }
    this.#canvas.classList.toggle('sharp', at.sharp);
  }
}
