import assert from 'node:assert/strict';
import { beforeEach, describe, test } from 'node:test';
import { fraction, Pointer, WheelSteps } from '../../agent/page/pointer.js';

const here = { x: 0.25, y: 0.5 };
let sent;
let pointer;

beforeEach(() => {
  sent = [];
  pointer = new Pointer({ send: (message) => sent.push(message) });
});

describe('the pointer', () => {
  test('tells where it is, with the modifiers', () => {
    pointer.at(here, 0, 5);
    assert.deepEqual(sent, [{ t: 'm', e: 'move', x: 0.25, y: 0.5, m: 5 }]);
  });

  test('tells nothing twice', () => {
    pointer.at(here, 0, 0);
    pointer.at(here, 0, 0);
    assert.equal(sent.length, 1);
  });

  for (const [bit, button, name] of [[1, 0, 'left'], [4, 1, 'middle'], [2, 2, 'right']]) {
    test(`presses and lets go of the ${name} button`, () => {
      pointer.at(here, bit, 0);
      pointer.at(here, 0, 0);
      assert.deepEqual(sent.map(({ e, b }) => [e, b]), [['down', button], ['up', button]]);
    });
  }

  test('tells of buttons that join others', () => {
    pointer.at(here, 1, 0);
    pointer.at(here, 3, 0);
    pointer.at({ x: 0.3, y: 0.5 }, 3, 0);
    pointer.at(here, 2, 0);
    pointer.at(here, 0, 0);
    assert.deepEqual(sent.map(({ e, b }) => `${e} ${b ?? ''}`),
      ['down 0', 'down 2', 'move ', 'up 0', 'up 2']);
  });

  test('has no other buttons', () => {
    pointer.at({ x: 0.5, y: 0.5 }, 8 + 16, 0);
    assert.deepEqual(sent, []);
  });

  test('lets go of all that it holds, where it was', () => {
    pointer.at(here, 3, 1);
    sent.length = 0;
    assert.ok(pointer.holds);
    pointer.releaseAll();
    assert.ok(!pointer.holds);
    assert.deepEqual(sent, [
      { t: 'm', e: 'up', x: 0.25, y: 0.5, b: 0, m: 0 },
      { t: 'm', e: 'up', x: 0.25, y: 0.5, b: 2, m: 0 },
    ]);
  });

  test('turns the wheel where it is', () => {
    pointer.wheel(here, { deltaX: 0, deltaY: -120, deltaMode: 0 }, 2);
    assert.deepEqual(sent, [{ t: 'm', e: 'wheel', x: 0.25, y: 0.5, d: 1, m: 2 }]);
  });
});

describe('the wheel', () => {
  const wheel = (delta, more) => ({ deltaX: 0, deltaY: delta, deltaMode: 0, ...more });

  test('steps once for a notch, whatever a notch is to the browser', () => {
    for (const notch of [53, 100, 120]) {
      assert.equal(new WheelSteps().add(wheel(notch)), -1);
      assert.equal(new WheelSteps().add(wheel(-notch)), 1);
    }
    assert.equal(new WheelSteps().add(wheel(3, { deltaMode: 1 })), -1);
  });

  test('steps several times for several notches, but never without end', () => {
    assert.equal(new WheelSteps().add(wheel(300)), -3);
    assert.equal(new WheelSteps().add(wheel(1e6)), -5);
  });

  test('gathers what a touchpad tells', () => {
    const steps = new WheelSteps();
    const all = Array.from({ length: 20 }, () => steps.add(wheel(10)));
    assert.equal(all.reduce((sum, step) => sum + step), -4);
  });

  test('begins anew where the direction changes', () => {
    const steps = new WheelSteps();
    steps.add(wheel(45));
    assert.equal(steps.add(wheel(-45)), 0);
    assert.equal(steps.add(wheel(-10)), 1);
  });

  test('with Shift is what a browser makes of it sideways', () => {
    assert.equal(new WheelSteps().add({ deltaX: 100, deltaY: 0, deltaMode: 0, shiftKey: true }), -1);
    assert.equal(new WheelSteps().add({ deltaX: 100, deltaY: 0, deltaMode: 0 }), 0);
  });
});

test('a place is a fraction of the picture, held to it', () => {
  assert.equal(fraction(60, 10, 100), 0.5);
  assert.equal(fraction(0, 10, 100), 0);
  assert.equal(fraction(500, 10, 100), 1);
  assert.equal(fraction(5, 0, 0), 0);
});
