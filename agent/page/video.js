import { describe } from './h264.js';

const ticksPerSecond = 90000;
// Microseconds of the stream that wait for the decoder. It takes long to begin where much is going on.
const mostBehind = 1e6;
const mostBehindAtFirst = 5e6;
const mostFaults = 5;              // without a picture between them
const keyFrameAgainAfter = 1000;   // milliseconds

/**
 * Decodes access units and hands out pictures, in order. Begins at a key frame and asks for one by
 * itself: at first, after a fault of the decoder, and where the decoder is a second behind.
 *
 * The owner of a picture closes it. `fails` is told when the decoder cannot go on at all.
 */
export class Video {
  #owner;
  #decoder;
  #codec;
  #clock = 0;       // of the stream, in ticks
  #pending = [];    // the times of what the decoder has, in microseconds
  #shows = false;   // the decoder has given out a picture
  #faults = 0;
  #askedAt = -Infinity;

  /** owner: picture(frame, {streamTime}), needsKeyFrame(), dropped(count), fails(reason) */
  constructor(owner) {
    this.#owner = owner;
  }

  static get isPossible() {
    return typeof VideoDecoder === 'function';
  }

  /** Takes an access unit; gives its time in the stream, in milliseconds. */
  add({ ticks, unit }, arrived) {
    const { key, codec } = describe(unit);
    const timestamp = Math.round((this.#clock * 1e6) / ticksPerSecond);
    this.#clock += ticks;
    const most = this.#shows ? mostBehind : mostBehindAtFirst;
    if (timestamp - this.#pending[0] > most) this.reset();
    if (key) this.#configure(codec);
    if (!this.#decoder) {
      this.#owner.dropped(1);
      this.#askForKeyFrame(arrived);
      return timestamp / 1000;
    }
    this.#pending.push(timestamp);
    this.#decoder.decode(new EncodedVideoChunk({
      type: key ? 'key' : 'delta',
      timestamp,
      // Without one some browsers take a decoder for too slow and let go of it.
      duration: Math.round((ticks * 1e6) / ticksPerSecond),
      data: unit,
    }));
    return timestamp / 1000;
  }

  /** The next picture will be a key frame's. */
  reset() {
    if (this.#decoder && this.#decoder.state !== 'closed') this.#decoder.close();
    this.#decoder = undefined;
    this.#shows = false;
    if (this.#pending.length > 0) this.#owner.dropped(this.#pending.length);
    this.#pending = [];
    this.#askedAt = -Infinity;
  }

  #configure(codec) {
    if (this.#decoder && codec === this.#codec) return;
    this.reset();
    const decoder = new VideoDecoder({
      output: (frame) => this.#output(frame),
      error: (error) => {
        if (decoder === this.#decoder) this.#fault(error);
      },
    });
    decoder.configure({ codec, optimizeForLatency: true });
    this.#decoder = decoder;
    this.#codec = codec;
  }

  #output(frame) {
    this.#faults = 0;
    this.#shows = true;
    while (this.#pending[0] <= frame.timestamp) this.#pending.shift();
    this.#owner.picture(frame, { streamTime: frame.timestamp / 1000 });
  }

  #fault(error) {
    this.reset();
    if (++this.#faults >= mostFaults) this.#owner.fails(error.message);
    else this.#askForKeyFrame(performance.now());
  }

  #askForKeyFrame(now) {
    if (now - this.#askedAt < keyFrameAgainAfter) return;
    this.#askedAt = now;
    this.#owner.needsKeyFrame();
  }
}
