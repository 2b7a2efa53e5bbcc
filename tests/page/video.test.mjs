import assert from 'node:assert/strict';
import { beforeEach, describe, test } from 'node:test';
import { Video } from '../../agent/page/video.js';

const start = [0, 0, 0, 1];
const key = (level = 0x28) => new Uint8Array([...start, 0x67, 0x42, 0xc0, level,
  ...start, 0x68, 0xce, ...start, 0x65, 0x88]);
const delta = new Uint8Array([...start, 0x41, 0x9a]);
const ticks = 3000;

let decoders;
let owner;
let video;

/** Keeps what it is given, and gives out what a test says. */
class StandInDecoder {
  chunks = [];
  state = 'unconfigured';

  constructor(callbacks) {
    Object.assign(this, callbacks);
    decoders.push(this);
  }

  configure(config) {
    this.config = config;
    this.state = 'configured';
  }

  decode(chunk) {
    this.chunks.push(chunk);
  }

  close() {
    this.state = 'closed';
  }

  /** The pictures of the oldest chunks. */
  giveOut(count) {
    for (const { timestamp } of this.chunks.splice(0, count)) this.output({ timestamp });
  }

  failNow() {
    this.state = 'closed';
    this.error(new Error('It broke.'));
  }
}

beforeEach(() => {
  globalThis.VideoDecoder = StandInDecoder;
  globalThis.EncodedVideoChunk = class {
    constructor(init) {
      Object.assign(this, init);
    }
  };
  decoders = [];
  owner = {
    pictures: [], asked: 0, lost: 0, reason: undefined,
    picture: (frame, { streamTime }) => owner.pictures.push(streamTime),
    needsKeyFrame: () => { ++owner.asked; },
    dropped: (count) => { owner.lost += count; },
    fails: (reason) => { owner.reason = reason; },
  };
  video = new Video(owner);
});

const add = (unit, at = 0) => video.add({ ticks, unit }, at);

describe('the video', () => {
  test('waits for a key frame, and asks for it once a second', () => {
    for (const at of [0, 500, 999, 1000]) add(delta, at);
    assert.deepEqual([owner.asked, owner.lost, decoders.length], [2, 4, 0]);
    add(key());
    assert.deepEqual(decoders[0].config, { codec: 'avc1.42c028', optimizeForLatency: true });
  });

  test('gives each chunk its kind, time and duration', () => {
    add(key());
    add(delta);
    assert.deepEqual(decoders[0].chunks.map(({ type, timestamp, duration }) =>
      [type, timestamp, duration]), [['key', 0, 33333], ['delta', 33333, 33333]]);
  });

  test('hands pictures out with their time in the stream', () => {
    assert.equal(add(key()), 0);
    assert.equal(Math.round(add(delta)), 33);
    decoders[0].giveOut(2);
    assert.deepEqual(owner.pictures.map(Math.round), [0, 33]);
  });

  test('takes another decoder for another codec only', () => {
    add(key());
    decoders[0].giveOut(1);
    add(key());
    assert.equal(decoders.length, 1);
    add(key(0x1f));
    assert.equal(decoders.length, 2);
    assert.equal(decoders[0].state, 'closed');
  });

  test('begins anew after a fault', () => {
    add(key());
    decoders[0].failNow();
    assert.deepEqual([owner.asked, owner.lost], [1, 1]);
    add(delta);
    assert.equal(owner.asked, 1);
    add(key());
    assert.equal(decoders.length, 2);
    decoders[1].giveOut(1);
    assert.equal(owner.pictures.length, 1);
  });

  test('gives up when nothing but faults comes', () => {
    for (let i = 0; i < 5; ++i) {
      assert.equal(owner.reason, undefined);
      add(key());
      decoders.at(-1).failNow();
    }
    assert.equal(owner.reason, 'It broke.');
  });

  test('does not give up where pictures come between faults', () => {
    for (let i = 0; i < 9; ++i) {
      add(key());
      decoders.at(-1).giveOut(1);
      add(delta);
      decoders.at(-1).failNow();
    }
    assert.equal(owner.reason, undefined);
  });

  test('drops what a decoder is more than a second behind with', () => {
    add(key());
    decoders[0].giveOut(1);
    for (let i = 0; i < 31; ++i) add(delta);
    assert.deepEqual([owner.lost, owner.asked], [0, 0]);
    add(delta);
    assert.deepEqual([owner.lost, owner.asked], [32, 1]);
    assert.equal(decoders[0].state, 'closed');
  });

  test('lets a decoder take its time to begin, but not for ever', () => {
    add(key());
    for (let i = 0; i < 150; ++i) add(delta);
    assert.equal(owner.asked, 0);
    add(delta);
    assert.equal(owner.asked, 1);
  });

  test('goes on for as long as the decoder keeps up', () => {
    add(key());
    for (let i = 0; i < 200; ++i) {
      add(delta);
      decoders[0].giveOut(1);
    }
    assert.equal(owner.lost, 0);
  });

  test('needs a browser that has decoders', () => {
    assert.ok(Video.isPossible);
    delete globalThis.VideoDecoder;
    assert.ok(!Video.isPossible);
  });

  test('heeds no decoder that it has closed', () => {
    add(key());
    video.reset();
    decoders[0].error(new Error('Too late.'));
    assert.equal(owner.asked, 0);
  });
});
