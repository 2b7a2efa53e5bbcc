// Which Windows virtual-key code stands for the place of a key, by KeyboardEvent.code:
// [code, extended], and for the keypad also the code that it has where the viewer's Num Lock is off.
// A place is the same on every layout, so the person's own layout alone decides what is typed.
// Keys that the host has no place for are left out: they stay the browser's own.

const letters = [...'ABCDEFGHIJKLMNOPQRSTUVWXYZ'].map((letter) => [
  `Key${letter}`, [letter.charCodeAt(0), false]]);
const digits = [...'0123456789'].map((digit) => [`Digit${digit}`, [digit.charCodeAt(0), false]]);
const functionKeys = Array.from({ length: 12 }, (_, i) => [`F${i + 1}`, [0x70 + i, false]]);

export const keys = new Map([
  ...letters,
  ...digits,
  ...functionKeys,
  ['Backspace', [0x08, false]],
  ['Tab', [0x09, false]],
  ['Enter', [0x0d, false]],
  ['CapsLock', [0x14, false]],
  ['Escape', [0x1b, false]],
  ['Space', [0x20, false]],
  ['PageUp', [0x21, true]],
  ['PageDown', [0x22, true]],
  ['End', [0x23, true]],
  ['Home', [0x24, true]],
  ['ArrowLeft', [0x25, true]],
  ['ArrowUp', [0x26, true]],
  ['ArrowRight', [0x27, true]],
  ['ArrowDown', [0x28, true]],
  ['Insert', [0x2d, true]],
  ['Delete', [0x2e, true]],
  ['MetaLeft', [0x5b, true]],
  ['MetaRight', [0x5c, true]],
  ['Numpad0', [0x60, false, 0x2d]],
  ['Numpad1', [0x61, false, 0x23]],
  ['Numpad2', [0x62, false, 0x28]],
  ['Numpad3', [0x63, false, 0x22]],
  ['Numpad4', [0x64, false, 0x25]],
  ['Numpad5', [0x65, false, null]],
  ['Numpad6', [0x66, false, 0x27]],
  ['Numpad7', [0x67, false, 0x24]],
  ['Numpad8', [0x68, false, 0x26]],
  ['Numpad9', [0x69, false, 0x21]],
  ['NumpadMultiply', [0x6a, false]],
  ['NumpadAdd', [0x6b, false]],
  ['NumpadSubtract', [0x6d, false]],
  ['NumpadDecimal', [0x6e, false, 0x2e]],
  ['NumpadDivide', [0x6f, true]],
  ['NumpadEnter', [0x0d, true]],
  ['NumLock', [0x90, true]],
  ['ShiftLeft', [0xa0, false]],
  ['ShiftRight', [0xa1, false]],
  ['ControlLeft', [0xa2, false]],
  ['ControlRight', [0xa3, true]],
  ['AltLeft', [0xa4, false]],
  ['AltRight', [0xa5, true]],
  ['Semicolon', [0xba, false]],
  ['Equal', [0xbb, false]],
  ['Comma', [0xbc, false]],
  ['Minus', [0xbd, false]],
  ['Period', [0xbe, false]],
  ['Slash', [0xbf, false]],
  ['Backquote', [0xc0, false]],
  ['BracketLeft', [0xdb, false]],
  ['Backslash', [0xdc, false]],
  ['BracketRight', [0xdd, false]],
  ['Quote', [0xde, false]],
  ['IntlBackslash', [0xe2, false]],
]);

// The bits of the modifier mask that the keys hold.
export const shift = 1;
export const control = 2;
export const alt = 4;
export const meta = 8;

const bits = new Map([
  ['ShiftLeft', shift], ['ShiftRight', shift],
  ['ControlLeft', control], ['ControlRight', control],
  ['AltLeft', alt], ['AltRight', alt],
  ['MetaLeft', meta], ['MetaRight', meta],
]);

export const modifierBit = (code) => bits.get(code) ?? 0;

// What a key of the keypad is called where Num Lock is off.
const elsewhere = new Set(['Insert', 'End', 'ArrowDown', 'PageDown', 'ArrowLeft', 'Clear',
  'ArrowRight', 'Home', 'ArrowUp', 'PageUp', 'Delete']);

/** The code and the extended flag of a key event, or none where there is nothing to tell. */
export function virtualKey(code, key) {
  const row = keys.get(code);
  if (!row) return undefined;
  const [withNumLock, extended, without] = row;
  if (without === undefined || !elsewhere.has(key)) return { code: withNumLock, extended };
  return without === null ? undefined : { code: without, extended };
}
