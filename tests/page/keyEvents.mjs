/** A key event as a browser tells of it. `held` names the modifiers that it says are down. */
export function keyEvent(code, { key = '', held = [], at = 0, repeat = false, type } = {}) {
  return {
    code, key, repeat, type, timeStamp: at,
    shiftKey: held.includes('Shift'), ctrlKey: held.includes('Control'),
    altKey: held.includes('Alt'), metaKey: held.includes('Meta'),
    getModifierState: (name) => held.includes(name),
  };
}

/** Timers that run when they are told to. */
export class Timers {
  #actions = new Set();

  later = (action) => {
    this.#actions.add(action);
    return () => this.#actions.delete(action);
  };

  run() {
    for (const action of [...this.#actions]) {
      this.#actions.delete(action);
      action();
    }
  }

  get waiting() {
    return this.#actions.size;
  }
}

/** A message of a key, in short: what it is that goes down or up, and the mask after it. */
export const brief = ({ c, e, m, x }) => `${e} ${c}${x ? 'x' : ''} m${m}`;
