import assert from 'node:assert/strict';
import { test } from 'node:test';
import { keys, modifierBit, virtualKey } from '../../agent/page/keys.js';

// Each key of the table: its code, and whether Windows has it as an extended one.
const plain = false;
const extended = true;
const expected = [
  ['KeyA', 65, plain], ['KeyB', 66, plain], ['KeyC', 67, plain], ['KeyD', 68, plain],
  ['KeyE', 69, plain], ['KeyF', 70, plain], ['KeyG', 71, plain], ['KeyH', 72, plain],
  ['KeyI', 73, plain], ['KeyJ', 74, plain], ['KeyK', 75, plain], ['KeyL', 76, plain],
  ['KeyM', 77, plain], ['KeyN', 78, plain], ['KeyO', 79, plain], ['KeyP', 80, plain],
  ['KeyQ', 81, plain], ['KeyR', 82, plain], ['KeyS', 83, plain], ['KeyT', 84, plain],
  ['KeyU', 85, plain], ['KeyV', 86, plain], ['KeyW', 87, plain], ['KeyX', 88, plain],
  ['KeyY', 89, plain], ['KeyZ', 90, plain],
  ['Digit0', 48, plain], ['Digit1', 49, plain], ['Digit2', 50, plain], ['Digit3', 51, plain],
  ['Digit4', 52, plain], ['Digit5', 53, plain], ['Digit6', 54, plain], ['Digit7', 55, plain],
  ['Digit8', 56, plain], ['Digit9', 57, plain],
  ['F1', 112, plain], ['F2', 113, plain], ['F3', 114, plain], ['F4', 115, plain],
  ['F5', 116, plain], ['F6', 117, plain], ['F7', 118, plain], ['F8', 119, plain],
  ['F9', 120, plain], ['F10', 121, plain], ['F11', 122, plain], ['F12', 123, plain],
  ['Backspace', 8, plain], ['Tab', 9, plain], ['Enter', 13, plain], ['CapsLock', 20, plain],
  ['Escape', 27, plain], ['Space', 32, plain],
  ['PageUp', 33, extended], ['PageDown', 34, extended], ['End', 35, extended],
  ['Home', 36, extended], ['ArrowLeft', 37, extended], ['ArrowUp', 38, extended],
  ['ArrowRight', 39, extended], ['ArrowDown', 40, extended], ['Insert', 45, extended],
  ['Delete', 46, extended],
  ['MetaLeft', 91, extended], ['MetaRight', 92, extended],
  ['Numpad0', 96, plain], ['Numpad1', 97, plain], ['Numpad2', 98, plain], ['Numpad3', 99, plain],
  ['Numpad4', 100, plain], ['Numpad5', 101, plain], ['Numpad6', 102, plain],
  ['Numpad7', 103, plain], ['Numpad8', 104, plain], ['Numpad9', 105, plain],
  ['NumpadMultiply', 106, plain], ['NumpadAdd', 107, plain], ['NumpadSubtract', 109, plain],
  ['NumpadDecimal', 110, plain], ['NumpadDivide', 111, extended], ['NumpadEnter', 13, extended],
  ['NumLock', 144, extended],
  ['ShiftLeft', 160, plain], ['ShiftRight', 161, plain], ['ControlLeft', 162, plain],
  ['ControlRight', 163, extended], ['AltLeft', 164, plain], ['AltRight', 165, extended],
  ['Semicolon', 186, plain], ['Equal', 187, plain], ['Comma', 188, plain], ['Minus', 189, plain],
  ['Period', 190, plain], ['Slash', 191, plain], ['Backquote', 192, plain],
  ['BracketLeft', 219, plain], ['Backslash', 220, plain], ['BracketRight', 221, plain],
  ['Quote', 222, plain], ['IntlBackslash', 226, plain],
];

for (const [name, code, isExtended] of expected) {
  test(`the key ${name} has its code and its flag`, () => {
    assert.deepEqual(virtualKey(name, ''), { code, extended: isExtended });
  });
}

test('the table has no other key', () => {
  assert.deepEqual([...keys.keys()].sort(), expected.map(([name]) => name).sort());
});

test('no two keys are the same one to the host', () => {
  const told = expected.map(([, code, isExtended]) => `${code} ${isExtended}`);
  assert.equal(new Set(told).size, expected.length);
});

const withoutNumLock = [
  ['Numpad0', 'Insert', 45], ['Numpad1', 'End', 35], ['Numpad2', 'ArrowDown', 40],
  ['Numpad3', 'PageDown', 34], ['Numpad4', 'ArrowLeft', 37], ['Numpad6', 'ArrowRight', 39],
  ['Numpad7', 'Home', 36], ['Numpad8', 'ArrowUp', 38], ['Numpad9', 'PageUp', 33],
  ['NumpadDecimal', 'Delete', 46],
];

for (const [name, key, code] of withoutNumLock) {
  test(`without Num Lock ${name} is ${key}, and no extended key`, () => {
    assert.deepEqual(virtualKey(name, key), { code, extended: false });
  });
}

test('without Num Lock the 5 of the keypad says nothing', () => {
  assert.equal(virtualKey('Numpad5', 'Clear'), undefined);
});

test('a key that the host has no place for is the browser’s', () => {
  for (const name of ['Pause', 'PrintScreen', 'AudioVolumeUp', 'F13', '', 'Unidentified']) {
    assert.equal(virtualKey(name, ''), undefined, name);
  }
});

test('only the modifier keys have a bit in the mask', () => {
  const bits = expected.map(([name]) => [name, modifierBit(name)]).filter(([, bit]) => bit !== 0);
  assert.deepEqual(bits, [
    ['MetaLeft', 8], ['MetaRight', 8], ['ShiftLeft', 1], ['ShiftRight', 1], ['ControlLeft', 2],
    ['ControlRight', 2], ['AltLeft', 4], ['AltRight', 4],
  ]);
});
