// Of MouseEvent.buttons: which bit is which of the viewer's buttons.
const buttonBits = [[1, 0], [4, 1], [2, 2]];

const notch = 100;      // pixels that a mouse's wheel scrolls by a notch
const mostSteps = 5;    // for one event
const linePixels = 33;
const pagePixels = 300;

/** The steps that a wheel has made: a notch of a mouse, or a stretch of a touchpad. */
export class WheelSteps {
  #sum = 0;

  /** How many, positive away from the viewer. */
  add({ deltaX, deltaY, deltaMode, shiftKey }) {
    const delta = (deltaY === 0 && shiftKey ? deltaX : deltaY) *
      (deltaMode === 1 ? linePixels : deltaMode === 2 ? pagePixels : 1);
    if (delta * this.#sum < 0) this.#sum = 0;
    this.#sum += delta;
    if (Math.abs(this.#sum) < notch / 2) return 0;
    const steps = Math.min(Math.max(Math.round(Math.abs(this.#sum) / notch), 1), mostSteps);
    const direction = this.#sum < 0 ? 1 : -1;
    this.#sum = 0;
    return direction * steps;
  }
}

/** A place of the window as a fraction of the picture, held to it. */
export function fraction(place, from, length) {
  if (!(length > 0)) return 0;
  return Math.min(Math.max((place - from) / length, 0), 1);
}

/**
 * What the viewer's pointer says to the host. Several buttons that are down together are told by moves,
 * so what an event says of all buttons is what counts.
 */
export class Pointer {
  #send;
  #held = new Set();
  #wheel = new WheelSteps();
  #place = { x: 0.5, y: 0.5 };

  constructor({ send }) {
    this.#send = send;
  }

  get holds() {
    return this.#held.size > 0;
  }

  /** An event of the pointer at a place of the picture, with the modifiers that are held. */
  at(place, buttons, mask) {
    const moved = place.x !== this.#place.x || place.y !== this.#place.y;
    this.#place = place;
    const changes = buttonBits.filter(([bit, button]) =>
      ((buttons & bit) !== 0) !== this.#held.has(button));
    if (moved && changes.length === 0) this.#tell('move', {}, mask);
    for (const [bit, button] of changes) this.#turn(button, (buttons & bit) !== 0, mask);
  }

  wheel(place, event, mask) {
    this.#place = place;
    const steps = this.#wheel.add(event);
    for (let i = 0; i < Math.abs(steps); ++i) this.#tell('wheel', { d: Math.sign(steps) }, mask);
  }

  releaseAll() {
    for (const button of [...this.#held]) this.#turn(button, false, 0);
  }

  forget() {
    this.#held.clear();
  }

  #turn(button, down, mask) {
    if (down) this.#held.add(button);
    else this.#held.delete(button);
    this.#tell(down ? 'down' : 'up', { b: button }, mask);
  }

  #tell(what, members, mask) {
    this.#send({ t: 'm', e: what, ...this.#place, ...members, m: mask });
  }
}
