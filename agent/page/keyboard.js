import { alt, control, meta, modifierBit, shift, virtualKey } from './keys.js';

// Two key presses of one stroke of AltGr are no further apart (milliseconds).
const altGrGap = 15;
const capsLock = 0x14;
// By which the host is told that a modifier is up that nobody pressed here.
const modifierKeys = ['ShiftLeft', 'ControlLeft', 'AltLeft', 'MetaLeft'];

/**
 * What the viewer's keys say to the host: takes key events, sends input messages.
 *
 * Three things that browsers tell otherwise than they are:
 * - On Windows a stroke of AltGr begins with a press of left Control that nobody made. A press of left
 *   Control waits there until it is clear that it is none of these.
 * - On a Mac no release of a key is told while Command is held. There it follows the press at once.
 * - A release that another window got is never told. Each event says which modifiers are down; those
 *   that are not are let go of, and those that were pressed elsewhere are in the mask from then on.
 *
 * Caps Lock is a state and no key: the host has it locked for as long as it is down there, so it is
 * down for as long as the viewer's own is on.
 *
 * Owns no timer of the page: `later(action, milliseconds)` gives a function that calls it off.
 */
export class Keyboard {
  #send;
  #platform;
  #later;
  #held = new Map();  // by KeyboardEvent.code
  #adopted = 0;       // modifiers that are down without a press that was seen here
  #capsLocked = false;
  #waiting;           // a press of left Control that may be AltGr's

  constructor({ send, platform = 'other', later = () => () => {} }) {
    this.#send = send;
    this.#platform = platform;
    this.#later = later;
  }

  /** The modifiers that the viewer holds. */
  get mask() {
    let mask = this.#adopted;
    for (const code of this.#held.keys()) mask |= modifierBit(code);
    return mask;
  }

  /** True where the key is the host's, and the browser should do nothing about it. */
  down(event) {
    const key = virtualKey(event.code, event.key);
    if (!key) return false;
    if (this.#isAltGrControl(event)) return this.#wait(event, key);
    this.#settle(event);
    if (event.code === 'CapsLock') return this.#turnCapsLock(event);
    this.#align(event, modifierBit(event.code));
    this.#press(event, key);
    return true;
  }

  up(event) {
    if (this.#waiting && event.code === 'ControlLeft') this.#goOn();
    if (event.code === 'CapsLock' && this.#platform === 'mac') this.#setCapsLock(false);
    const key = this.#held.get(event.code);
    if (key) {
      // Some browsers say of a modifier's release that it is down.
      const own = modifierBit(event.code);
      this.#held.delete(event.code);
      this.#takeOver(event, ~own);
      this.#tell(key, 'up');
      this.#align(event, 0, ~own);
    } else {
      this.#giveBack(modifierBit(event.code));
    }
    return key !== undefined || virtualKey(event.code, event.key) !== undefined;
  }

  /** The mask for what the pointer does. */
  maskFor(event) {
    this.#goOn();
    this.#align(event, 0);
    return this.mask;
  }

  /** Lets go of all keys, the modifiers last. */
  releaseAll() {
    this.#callOff();
    this.#giveBack(~0);
    const order = [...this.#held].sort(([a], [b]) => modifierBit(a) - modifierBit(b));
    for (const [code, key] of order) {
      this.#held.delete(code);
      this.#tell(key, 'up');
    }
    this.#setCapsLock(false);
  }

  /** The host has let go of everything, or is gone. */
  forget() {
    this.#callOff();
    this.#held.clear();
    this.#adopted = 0;
    this.#capsLocked = false;
  }

  #isAltGrControl(event) {
    return this.#platform === 'windows' && event.code === 'ControlLeft' &&
      !this.#held.has('ControlLeft');
  }

  #wait(event, key) {
    this.#callOff();
    const callOff = this.#later(() => this.#goOn(), altGrGap);
    this.#waiting = { event, key, callOff };
    return true;
  }

  #callOff() {
    this.#waiting?.callOff();
    this.#waiting = undefined;
  }

  /** The press that waits was one. */
  #goOn() {
    const waiting = this.#waiting;
    if (!waiting) return;
    this.#callOff();
    this.#align(waiting.event, control);
    this.#press(waiting.event, waiting.key);
  }

  /** Decides about left Control by the press that follows it. */
  #settle(event) {
    if (event.code !== 'AltRight') return this.#goOn();
    if (this.#waiting && event.timeStamp - this.#waiting.event.timeStamp <= altGrGap) {
      return this.#callOff();
    }
    return this.#goOn();
  }

  #press(event, key) {
    const endsUntold = this.#platform === 'mac' && (this.mask & meta) && !modifierBit(event.code);
    if (endsUntold) {
      this.#tell(key, 'down');
      this.#tell(key, 'up');
      return;
    }
    if (event.repeat || this.#held.has(event.code)) return;
    this.#adopted &= ~modifierBit(event.code);
    this.#held.set(event.code, key);
    this.#tell(key, 'down');
  }

  /** Modifiers as the event has them, but for those whose own key it is about: `own` are not let go of,
   * and only `others` are taken to be down where no press of theirs was seen. */
  #align(event, own, others = ~own) {
    const said = this.#saidBy(event);
    this.#takeOver(event, others);
    for (const [code, key] of [...this.#held]) {
      const bit = modifierBit(code);
      if (!bit || bit & said || bit & own) continue;
      this.#held.delete(code);
      this.#tell(key, 'up');
    }
    if (event.code === 'CapsLock' || !event.getModifierState) return;
    if (event.type !== 'keyup') this.#setCapsLock(event.getModifierState('CapsLock'));
  }

  /** Modifiers that were pressed elsewhere are up. */
  #giveBack(which) {
    for (const code of modifierKeys) {
      const bit = modifierBit(code);
      if (!(this.#adopted & which & bit)) continue;
      this.#adopted &= ~bit;
      this.#tell(virtualKey(code), 'up');
    }
  }

  #takeOver(event, which) {
    let held = 0;
    for (const code of this.#held.keys()) held |= modifierBit(code);
    this.#adopted = (this.#adopted & ~which) | (this.#saidBy(event) & ~held & which);
  }

  /** With AltGr down, only a left or right Control that was seen is one. */
  #saidBy(event) {
    const altGr = event.getModifierState?.('AltGraph') ?? false;
    const controlIsHeld = this.#held.has('ControlLeft') || this.#held.has('ControlRight');
    return (event.shiftKey ? shift : 0) |
      ((altGr ? controlIsHeld : event.ctrlKey) ? control : 0) |
      (event.altKey || altGr ? alt : 0) |
      (event.metaKey ? meta : 0);
  }

  #turnCapsLock(event) {
    if (!event.repeat) this.#setCapsLock(this.#platform === 'mac' || !this.#capsLocked);
    return true;
  }

  #setCapsLock(locked) {
    if (locked === this.#capsLocked) return;
    this.#capsLocked = locked;
    this.#tell({ code: capsLock, extended: false }, locked ? 'down' : 'up');
  }

  #tell({ code, extended }, what) {
    const message = { t: 'k', c: code, e: what, m: this.mask };
    if (extended) message.x = true;
    this.#send(message);
  }
}
