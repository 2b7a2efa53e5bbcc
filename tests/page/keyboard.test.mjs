import assert from 'node:assert/strict';
import { beforeEach, describe, test } from 'node:test';
import { Keyboard } from '../../agent/page/keyboard.js';
import { brief, keyEvent, Timers } from './keyEvents.mjs';

let sent;
let timers;
let keyboard;

function use(platform) {
  sent = [];
  timers = new Timers();
  keyboard = new Keyboard({
    send: (message) => sent.push(brief(message)), platform, later: timers.later });
}

const down = (code, more) => keyboard.down(keyEvent(code, { type: 'keydown', ...more }));
const up = (code, more) => keyboard.up(keyEvent(code, { type: 'keyup', ...more }));

/** What was sent since the last question. */
const told = () => sent.splice(0);

beforeEach(() => use('other'));

describe('keys', () => {
  test('go down and up by their place', () => {
    assert.ok(down('KeyQ', { key: 'a' }));
    assert.ok(up('KeyQ', { key: 'a' }));
    assert.deepEqual(told(), ['down 81 m0', 'up 81 m0']);
  });

  test('that repeat say nothing more, and still are no business of the browser’s', () => {
    down('KeyA');
    assert.ok(down('KeyA', { repeat: true }));
    assert.deepEqual(told(), ['down 65 m0']);
  });

  test('that were pressed elsewhere are not let go of here, nor by the browser', () => {
    assert.ok(up('KeyA'));
    assert.deepEqual(told(), []);
  });

  test('of the keypad go up as what they went down', () => {
    down('Numpad7', { key: 'Home' });
    up('Numpad7', { key: '7' });
    assert.deepEqual(told(), ['down 36 m0', 'up 36 m0']);
  });

  test('that nobody knows are left to the browser', () => {
    assert.equal(down('AudioVolumeUp'), false);
    assert.equal(up('AudioVolumeUp'), false);
    assert.deepEqual(told(), []);
  });
});

describe('the mask', () => {
  const modifiers = [
    ['ShiftLeft', 'Shift', 1, '160'], ['ShiftRight', 'Shift', 1, '161'],
    ['ControlLeft', 'Control', 2, '162'], ['ControlRight', 'Control', 2, '163x'],
    ['AltLeft', 'Alt', 4, '164'], ['AltRight', 'Alt', 4, '165x'],
    ['MetaLeft', 'Meta', 8, '91x'], ['MetaRight', 'Meta', 8, '92x'],
  ];
  for (const [code, name, bit, key] of modifiers) {
    test(`has ${code} from its press to before its release`, () => {
      down(code, { held: [name] });
      down('KeyA', { held: [name] });
      up('KeyA', { held: [name] });
      up(code);
      assert.deepEqual(told(),
        [`down ${key} m${bit}`, `down 65 m${bit}`, `up 65 m${bit}`, `up ${key} m0`]);
    });
  }

  test('keeps a modifier while its other key is down', () => {
    down('ShiftLeft', { held: ['Shift'] });
    down('ShiftRight', { held: ['Shift'] });
    up('ShiftLeft', { held: ['Shift'] });
    up('ShiftRight');
    assert.deepEqual(told(), ['down 160 m1', 'down 161 m1', 'up 160 m1', 'up 161 m0']);
  });

  test('lets go of both keys where the browser tells of one release only', () => {
    down('ShiftLeft', { held: ['Shift'] });
    down('ShiftRight', { held: ['Shift'] });
    told();
    up('ShiftRight');
    assert.deepEqual(told(), ['up 161 m1', 'up 160 m0']);
  });

  test('takes up a modifier that was pressed elsewhere, and drops it when it is gone', () => {
    down('KeyA', { held: ['Control'] });
    up('KeyA');
    assert.deepEqual(told(), ['down 65 m2', 'up 65 m0']);
  });

  test('lets go of a modifier whose release another window got', () => {
    down('AltLeft', { held: ['Alt'] });
    told();
    down('KeyA');
    assert.deepEqual(told(), ['up 164 m0', 'down 65 m0']);
  });

  test('of a modifier that was pressed elsewhere goes with its release', () => {
    keyboard.maskFor(keyEvent('', { held: ['Alt'] }));
    up('AltLeft');
    assert.equal(keyboard.mask, 0);
    assert.ok(told().some((message) => message.endsWith('m0')), 'the host is told');
  });

  test('of a modifier that was pressed elsewhere goes with all else', () => {
    keyboard.maskFor(keyEvent('', { held: ['Shift'] }));
    keyboard.releaseAll();
    assert.ok(told().some((message) => message.endsWith('m0')), 'the host is told');
  });

  test('is told by the pointer too', () => {
    down('ControlLeft', { held: ['Control'] });
    assert.equal(keyboard.maskFor(keyEvent('', { held: ['Control', 'Shift'] })), 3);
    told();
    assert.equal(keyboard.maskFor(keyEvent('', {})), 0);
    assert.deepEqual(told(), ['up 162 m0']);
  });
});

describe('AltGr on Windows', () => {
  beforeEach(() => use('windows'));

  test('is right Alt alone', () => {
    down('ControlLeft', { key: 'Control', held: ['Control'], at: 100 });
    assert.deepEqual(told(), []);
    down('AltRight', { key: 'AltGraph', held: ['AltGraph', 'Control', 'Alt'], at: 100 });
    down('KeyQ', { key: '@', held: ['AltGraph'], at: 180 });
    up('KeyQ', { key: '@', held: ['AltGraph'] });
    up('ControlLeft', { held: ['Alt'] });
    up('AltRight');
    timers.run();
    assert.deepEqual(told(), ['down 165x m4', 'down 81 m4', 'up 81 m4', 'up 165x m0']);
  });

  test('that is held repeats without Control', () => {
    down('ControlLeft', { held: ['Control'], at: 0 });
    down('AltRight', { held: ['AltGraph'], at: 1 });
    down('ControlLeft', { held: ['AltGraph', 'Control'], at: 500, repeat: true });
    down('AltRight', { held: ['AltGraph'], at: 500, repeat: true });
    timers.run();
    assert.deepEqual(told(), ['down 165x m4']);
  });

  test('is not taken for Control where its flags say so', () => {
    down('ControlLeft', { held: ['Control'], at: 0 });
    down('AltRight', { held: ['AltGraph'], at: 0 });
    told();
    down('KeyE', { held: ['AltGraph', 'Control', 'Alt'] });
    assert.deepEqual(told(), ['down 69 m4']);
  });

  test('a left Control by itself is one, a moment later', () => {
    assert.ok(down('ControlLeft', { held: ['Control'], at: 0 }));
    assert.equal(timers.waiting, 1);
    timers.run();
    assert.deepEqual(told(), ['down 162 m2']);
    up('ControlLeft');
    assert.deepEqual(told(), ['up 162 m0']);
  });

  test('a left Control with another key is one at once', () => {
    down('ControlLeft', { held: ['Control'], at: 0 });
    down('KeyC', { held: ['Control'], at: 2 });
    assert.deepEqual(told(), ['down 162 m2', 'down 67 m2']);
    assert.equal(timers.waiting, 0);
  });

  test('a left Control that is let go of at once was one', () => {
    down('ControlLeft', { held: ['Control'], at: 0 });
    up('ControlLeft', { at: 3 });
    assert.deepEqual(told(), ['down 162 m2', 'up 162 m0']);
  });

  test('a left Control well before right Alt is one', () => {
    down('ControlLeft', { held: ['Control'], at: 0 });
    down('AltRight', { held: ['Control', 'Alt'], at: 16 });
    assert.deepEqual(told(), ['down 162 m2', 'down 165x m6']);
  });

  test('a left Control before a click is one', () => {
    down('ControlLeft', { held: ['Control'], at: 0 });
    assert.equal(keyboard.maskFor(keyEvent('', { held: ['Control'] })), 2);
    assert.deepEqual(told(), ['down 162 m2']);
  });

  test('with a right Control that is held has Control', () => {
    down('ControlRight', { held: ['Control'] });
    down('AltRight', { held: ['AltGraph', 'Control', 'Alt'] });
    assert.deepEqual(told(), ['down 163x m2', 'down 165x m6']);
  });

  test('that waits is forgotten with all else', () => {
    down('ControlLeft', { held: ['Control'], at: 0 });
    keyboard.forget();
    timers.run();
    assert.deepEqual(told(), []);
  });

  test('that waits is not sent when everything is let go of', () => {
    down('ControlLeft', { held: ['Control'], at: 0 });
    keyboard.releaseAll();
    timers.run();
    assert.deepEqual(told(), []);
  });
});

test('a release that says of its own modifier that it is down lets go of it', () => {
  for (const [code, held, key] of [['MetaLeft', 'Meta', '91x'], ['AltRight', 'AltGraph', '165x']]) {
    down(code, { held: [held] });
    up(code, { held: [held] });
    assert.deepEqual(told(), [`down ${key} m${held === 'Meta' ? 8 : 4}`, `up ${key} m0`]);
    assert.equal(keyboard.mask, 0);
  }
});

test('elsewhere left Control waits for nothing', () => {
  down('ControlLeft', { held: ['Control'] });
  assert.deepEqual(told(), ['down 162 m2']);
});

test('elsewhere AltGr is told as it comes', () => {
  down('AltRight', { key: 'AltGraph', held: ['AltGraph'] });
  down('KeyQ', { key: '@', held: ['AltGraph'] });
  up('KeyQ', { key: '@', held: ['AltGraph'] });
  up('AltRight');
  assert.deepEqual(told(), ['down 165x m4', 'down 81 m4', 'up 81 m4', 'up 165x m0']);
});

describe('on a Mac', () => {
  beforeEach(() => use('mac'));

  test('a key with Command is let go of at once, since nobody tells when it is', () => {
    down('MetaLeft', { held: ['Meta'] });
    down('KeyC', { held: ['Meta'] });
    down('KeyC', { held: ['Meta'], repeat: true });
    up('MetaLeft');
    assert.deepEqual(told(), ['down 91x m8', 'down 67 m8', 'up 67 m8', 'down 67 m8', 'up 67 m8',
      'up 91x m0']);
  });

  test('Caps Lock goes down when it is switched on, and up when it is switched off', () => {
    down('CapsLock', { held: ['CapsLock'] });
    down('KeyA', { held: ['CapsLock'] });
    up('KeyA', { held: ['CapsLock'] });
    up('CapsLock');
    assert.deepEqual(told(), ['down 20 m0', 'down 65 m0', 'up 65 m0', 'up 20 m0']);
  });
});

describe('Caps Lock', () => {
  test('is down at the host from one stroke to the next', () => {
    assert.ok(down('CapsLock'));
    assert.deepEqual(told(), ['down 20 m0']);
    up('CapsLock', { held: ['CapsLock'] });
    down('KeyA', { held: ['CapsLock'] });
    up('KeyA', { held: ['CapsLock'] });
    assert.deepEqual(told(), ['down 65 m0', 'up 65 m0']);
    down('CapsLock', { held: ['CapsLock'] });
    up('CapsLock');
    assert.deepEqual(told(), ['up 20 m0']);
  });

  test('that was switched elsewhere is told with the next key', () => {
    down('KeyA', { held: ['CapsLock'] });
    up('KeyA', { held: ['CapsLock'] });
    down('KeyA');
    assert.deepEqual(told(),
      ['down 20 m0', 'down 65 m0', 'up 65 m0', 'up 20 m0', 'down 65 m0']);
  });
});

describe('letting go of everything', () => {
  test('ends the keys first, then the modifiers, then Caps Lock', () => {
    down('CapsLock');
    down('ShiftLeft', { held: ['Shift', 'CapsLock'] });
    down('ControlRight', { held: ['Shift', 'Control', 'CapsLock'] });
    down('KeyA', { held: ['Shift', 'Control', 'CapsLock'] });
    told();
    keyboard.releaseAll();
    assert.deepEqual(told(), ['up 65 m3', 'up 160 m2', 'up 163x m0', 'up 20 m0']);
    assert.equal(keyboard.mask, 0);
  });

  test('leaves nothing for a second time', () => {
    down('KeyA', { held: ['Shift'] });
    keyboard.releaseAll();
    told();
    keyboard.releaseAll();
    up('KeyA');
    assert.deepEqual(told(), []);
  });

  test('a key that goes on repeating stays up', () => {
    down('KeyA');
    keyboard.releaseAll();
    down('ShiftLeft', { held: ['Shift'] });
    told();
    assert.ok(down('KeyA', { held: ['Shift'], repeat: true }));
    assert.deepEqual(told(), []);
  });

  test('that is forgotten can begin anew', () => {
    down('CapsLock');
    keyboard.forget();
    told();
    down('CapsLock');
    assert.deepEqual(told(), ['down 20 m0']);
  });

  test('says nothing where nobody is there any more', () => {
    down('ShiftLeft', { held: ['Shift'] });
    told();
    keyboard.forget();
    assert.deepEqual(told(), []);
    assert.equal(keyboard.mask, 0);
  });
});
