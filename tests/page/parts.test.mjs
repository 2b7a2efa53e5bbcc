import assert from 'node:assert/strict';
import { describe, test } from 'node:test';
import { Figures } from '../../agent/page/figures.js';
import { decode, encode, inputKind } from '../../agent/page/frames.js';
import { describe as describeUnit } from '../../agent/page/h264.js';
import { platformOf } from '../../agent/page/hands.js';
import { placement } from '../../agent/page/placement.js';
import * as session from '../../agent/page/session.js';
import { bitRates, bitRateStep, defaults, load, startRequest } from '../../agent/page/settings.js';
import { pieces } from '../../agent/page/text.js';
import { handsWords, words } from '../../agent/page/words.js';

describe('frames', () => {
  const frame = (kind, text) => new Uint8Array([kind, ...new TextEncoder().encode(text)]).buffer;

  test('begin with their kind', () => {
    const bytes = encode(inputKind, { t: 'u', s: 'ü' });
    assert.equal(bytes[0], 2);
    assert.equal(new TextDecoder().decode(bytes.subarray(1)), '{"t":"u","s":"ü"}');
  });

  test('of control hold a message and its text', () => {
    const { message, text } = decode(frame(1, '{"op":"hello", "uid":5}'));
    assert.deepEqual(message, { op: 'hello', uid: 5 });
    assert.equal(text, '{"op":"hello", "uid":5}');
  });

  test('of video hold a duration and an access unit', () => {
    const { ticks, unit } = decode(new Uint8Array([3, 0xb8, 0x0b, 0, 0, 0, 0, 0, 1, 0x65]).buffer);
    assert.equal(ticks, 3000);
    assert.deepEqual([...unit], [0, 0, 0, 1, 0x65]);
  });

  test('that are none are dropped', () => {
    const none = ['', '{', '[]', 'null', '{"op":5}'].map((text) => frame(1, text));
    none.push(new ArrayBuffer(0), new Uint8Array([3, 0, 0, 0, 0]).buffer, frame(9, '{"op":"hello"}'));
    for (const bytes of none) assert.equal(decode(bytes), undefined);
  });
});

describe('an access unit', () => {
  const start = [0, 0, 0, 1];
  const set = [...start, 0x67, 0x42, 0xc0, 0x28, 0xda];

  test('with a parameter set and a key slice is a key frame, of that codec', () => {
    const unit = new Uint8Array([...set, ...start, 0x68, 0xce, ...start, 0x65, 0x88]);
    assert.deepEqual(describeUnit(unit), { key: true, codec: 'avc1.42c028' });
  });

  test('with start codes of three bytes is the same', () => {
    const unit = new Uint8Array([0, 0, 1, 0x67, 0x42, 0, 0x1e, 0, 0, 1, 0x65, 0x88]);
    assert.deepEqual(describeUnit(unit), { key: true, codec: 'avc1.42001e' });
  });

  test('with a parameter set and another slice is none to begin with', () => {
    const unit = new Uint8Array([...set, ...start, 0x68, 0xce, ...start, 0x41, 0x9a]);
    assert.equal(describeUnit(unit).key, false);
  });

  test('with half a parameter set is none to begin with', () => {
    const unit = new Uint8Array([...start, 0x67, 0x42, ...start, 0x65, 0x88]);
    assert.deepEqual(describeUnit(unit), { key: false, codec: undefined });
  });

  test('without a parameter set is none to begin with', () => {
    for (const slice of [0x65, 0x41, 0x01]) {
      assert.equal(describeUnit(new Uint8Array([...start, slice, 0x9a])).key, false);
    }
    assert.equal(describeUnit(new Uint8Array(0)).key, false);
  });
});

describe('a text', () => {
  test('that one message holds stays whole', () => {
    assert.deepEqual(pieces('Grüße'), ['Grüße']);
    assert.deepEqual(pieces(''), []);
  });

  test('has the same line ends from everywhere', () => {
    assert.deepEqual(pieces('a\r\nb\rc\nd'), ['a\nb\nc\nd']);
  });

  test('is cut after 512 characters as a reader counts them', () => {
    const families = '👨‍👩‍👧'.repeat(300);
    const all = pieces(families);
    assert.equal(all.join(''), families);
    assert.ok(all.every((piece) => piece.length <= 2048 && piece.length % '👨‍👩‍👧'.length === 0));
    assert.deepEqual(pieces('x'.repeat(1100)).map((piece) => piece.length), [512, 512, 76]);
  });

  test('fills a message to its last unit', () => {
    const family = '👨‍👩‍👧';
    assert.equal(pieces(family.repeat(2048 / family.length)).length, 1);
    assert.deepEqual(pieces(`a${'\u0301'.repeat(2047)}`).map((piece) => piece.length), [2048]);
  });

  test('has no half of a character, which no message could hold', () => {
    assert.ok(pieces('a\ud800b').every((piece) => piece.isWellFormed()));
  });

  test('has no character that no message could hold', () => {
    assert.deepEqual(pieces(`a${'\u0301'.repeat(3000)}b`), ['b']);
  });
});

describe('the figures', () => {
  test('count what a second has seen', () => {
    const figures = new Figures();
    for (let i = 0; i < 60; ++i) {
      const now = i * 33;
      figures.arrived(now, 500, now);
      figures.drawn(now + 4, now, { width: 640, height: 360 });
    }
    const { framesPerSecond, kilobitsPerSecond, delay, size, decoded } = figures.at(59 * 33 + 4);
    assert.ok(framesPerSecond >= 30 && framesPerSecond <= 31);
    assert.ok(kilobitsPerSecond >= 116 && kilobitsPerSecond <= 128);
    assert.equal(delay, 4);
    assert.deepEqual(size, { width: 640, height: 360 });
    assert.equal(decoded, 60);
  });

  test('count as delay what came later than the quickest', () => {
    const figures = new Figures();
    figures.arrived(1000, 1, 0);
    figures.drawn(1001, 0);
    figures.arrived(1133, 1, 33);
    figures.drawn(1135, 33);
    figures.arrived(1166, 1, 66);
    figures.drawn(1168, 66);
    assert.equal(figures.at(1170).delay, 102);
  });

  test('fall to nothing a second after the last picture', () => {
    const figures = new Figures();
    figures.arrived(0, 500, 0);
    figures.drawn(4, 0, { width: 640, height: 360 });
    const { framesPerSecond, kilobitsPerSecond, delay, decoded } = figures.at(1004);
    assert.deepEqual([framesPerSecond, kilobitsPerSecond, delay, decoded], [0, 0, undefined, 1]);
  });

  test('go by the clock of each stream', () => {
    const figures = new Figures();
    figures.arrived(0, 1, 0);
    figures.restart();
    figures.arrived(5000, 1, 0);
    figures.drawn(5003, 0, { width: 640, height: 360 });
    assert.equal(figures.at(5003).delay, 3);
  });

  test('are none where nothing is shown', () => {
    const figures = new Figures();
    assert.equal(figures.at(5).delay, undefined);
    figures.lost(3);
    assert.equal(figures.at(5).dropped, 3);
  });
});

describe('the picture', () => {
  const picture = { width: 1280, height: 720 };

  test('fills its room', () => {
    const { left, top, width, height, sharp } = placement(picture, { width: 1920, height: 1200 }, 1, false);
    assert.deepEqual([left, top, width, height, sharp], [0, 60, 1920, 1080, false]);
  });

  test('is sharp at a whole scale, and at one that is nearly whole', () => {
    for (const width of [1280, 1300]) {
      const at = placement(picture, { width, height: 900 }, 1, false);
      assert.deepEqual([at.width, at.height, at.sharp], [1280, 720, true]);
    }
  });

  test('keeps to whole scales where that is wanted', () => {
    const at = placement(picture, { width: 2500, height: 2000 }, 1, true);
    assert.deepEqual([at.width, at.sharp], [1280, true]);
    assert.equal(placement(picture, { width: 640, height: 900 }, 1, true).width, 640);
  });

  test('goes by the screen’s own pixels', () => {
    const at = placement(picture, { width: 641, height: 401 }, 2, false);
    assert.deepEqual([at.left, at.top, at.width, at.height, at.sharp], [0.5, 20.5, 640, 360, true]);
  });
});

describe('a session', () => {
  const ready = session.programIs(session.opened(session.beginning), 'connected');
  const after = (...messages) => messages.reduce(session.told, session.requested(ready));

  test('goes from the request to the picture', () => {
    const asked = after({ op: 'state', state: 'awaiting-consent' });
    const running = after({ op: 'state', state: 'starting' }, { op: 'started', accessibility: false });
    assert.equal(asked.session, 'asking');
    assert.equal(running.session, 'running');
    assert.equal(running.mayControl, false);
    assert.ok(session.isUnderWay(asked) && session.isUnderWay(running));
  });

  test('is greeted with what the system allows', () => {
    assert.equal(session.told(ready, { op: 'hello', accessibility: false }).mayControl, false);
    assert.equal(session.told(ready, { op: 'hello', accessibility: true }).mayControl, true);
    assert.equal(session.told(ready, { op: 'hello' }).mayControl, true);
  });

  test('can be asked for only where nothing is under way', () => {
    assert.ok(session.canStart(ready));
    assert.ok(session.canStart(after({ op: 'denied' })));
    assert.ok(!session.canStart(session.requested(ready)));
    assert.ok(!session.canStart(session.programIs(ready, 'gone')));
    assert.ok(!session.canStart(session.lost(ready)));
  });

  test('is known by its pictures alone', () => {
    const state = session.watched(ready);
    assert.equal(state.session, 'running');
    assert.equal(session.watched(state), state);
  });

  test('ends with the program, whose last word stays', () => {
    assert.equal(session.programIs(after({ op: 'started' }), 'gone').session, 'none');
    assert.equal(session.programIs(after({ op: 'fault', message: 'x' }), 'gone').message, 'x');
  });

  test('changes by nothing that nobody knows', () => {
    const state = after({ op: 'started' });
    assert.equal(session.told(state, { op: 'news' }), state);
    assert.equal(session.told(state, { op: 'state', state: 'constructor' }), state);
  });

  test('has words for each of its states', () => {
    const states = [session.beginning, session.lost(ready), ready, session.programIs(ready, 'gone'),
      session.requested(ready), after({ op: 'state', state: 'awaiting-consent' }),
      after({ op: 'state', state: 'starting' }), after({ op: 'started' }), after({ op: 'denied' }),
      after({ op: 'fault', message: 'The screen is gone.' }),
      after({ op: 'fault', code: 'screen-recording', message: 'Allow it.' }),
      ...[4400, 4401, 4403, 4409, 4410].map((code) => session.refused(ready, code, 'no'))];
    const titles = states.map((state) => words(state).title);
    assert.equal(new Set(titles).size, states.length);
    for (const state of states) assert.ok(words(state).brief && words(state).tone);
  });

  test('offers a start where one can help', () => {
    assert.equal(words(ready).action, 'start');
    assert.equal(words(after({ op: 'denied' })).action, 'again');
    assert.equal(words(session.refused(ready, 4409, '')).action, 'retry');
    assert.equal(words(session.refused(ready, 4401, '')).action, undefined);
    assert.equal(words(session.programIs(after({ op: 'fault' }), 'gone')).action, undefined);
  });

  test('says why nobody can type there', () => {
    const running = after({ op: 'started', accessibility: true });
    assert.equal(handsWords(running, true), '');
    assert.match(handsWords(running, false), /not allowed/);
    assert.match(handsWords({ ...running, mayControl: false }, true), /system/);
    assert.equal(handsWords(ready, false), '');
  });
});

describe('the settings', () => {
  const stored = (text) => ({ getItem: () => text });

  test('are the defaults where nothing, or nonsense, was kept', () => {
    for (const text of [null, '{', '[1]', '{"fps":"many","other":1}']) {
      assert.deepEqual(load(stored(text)), defaults);
    }
  });

  test('are what was kept', () => {
    assert.equal(load(stored('{"viewer":"Ada"}')).viewer, 'Ada');
  });

  test('make a request', () => {
    assert.deepEqual(startRequest({ ...defaults, viewer: 'Ada' }), {
      op: 'start', viewer: 'Ada', consent: true, input: true, fps: 30, bitrateKbps: 4000,
      banner: { strip: 100, border: 80, thickness: 8 },
    });
  });

  test('have a step of the slider for each bit rate', () => {
    bitRates.forEach((rate, step) => assert.equal(bitRateStep(rate), step));
    assert.equal(bitRates[bitRateStep(4100)], 4000);
  });
});

test('the browser says which machine it is on', () => {
  assert.equal(platformOf({ platform: 'Win32' }), 'windows');
  assert.equal(platformOf({ userAgentData: { platform: 'Windows' } }), 'windows');
  assert.equal(platformOf({ platform: 'MacIntel' }), 'mac');
  assert.equal(platformOf({ userAgentData: { platform: 'macOS' } }), 'mac');
  assert.equal(platformOf({ platform: 'Linux x86_64' }), 'other');
  assert.equal(platformOf({}), 'other');
});
