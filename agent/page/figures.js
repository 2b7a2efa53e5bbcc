const window = 1000;        // milliseconds that frames and bits are counted over
const delayWindow = 10000;  // and that the stream's clock is compared with ours over

/**
 * The figures of what is watched. Times are milliseconds of one clock.
 *
 * The delay is the time from when the program sent a picture to when it was drawn. The program's clock
 * is known by the durations alone: the picture that came with the least delay in the last ten seconds
 * is taken to have come at once.
 */
export class Figures {
  #drawn = [];
  #bits = [];
  #offsets = [];
  #delays = [];
  decoded = 0;
  dropped = 0;
  size;

  arrived(now, bytes, streamTime) {
    this.#bits.push([now, bytes * 8]);
    while (this.#bits[0][0] <= now - window) this.#bits.shift();
    this.#keepOffset(now, now - streamTime);
  }

  drawn(now, streamTime, size) {
    ++this.decoded;
    this.size = size;
    this.#drawn.push(now);
    this.#delays.push([now, Math.max(now - streamTime - this.#leastOffset, 0)]);
    this.#forget(now);
  }

  lost(count) {
    this.dropped += count;
  }

  /** What a viewer reads; undefined where nothing is known. */
  at(now) {
    this.#forget(now);
    const bits = this.#bits.filter(([time]) => time > now - window);
    return {
      framesPerSecond: this.#drawn.length,
      kilobitsPerSecond: Math.round(bits.reduce((sum, [, count]) => sum + count, 0) / window),
      delay: median(this.#delays.map(([, delay]) => delay)),
      size: this.size,
      decoded: this.decoded,
      dropped: this.dropped,
    };
  }

  /** A new stream has a clock of its own. */
  restart() {
    this.#drawn = [];
    this.#bits = [];
    this.#offsets = [];
    this.#delays = [];
    this.size = undefined;
  }

  get #leastOffset() {
    return this.#offsets[0]?.[1] ?? 0;
  }

  /** The least stands first, and behind it those that will be the least when it is too old. */
  #keepOffset(now, offset) {
    while (this.#offsets.length > 0 && this.#offsets.at(-1)[1] >= offset) this.#offsets.pop();
    this.#offsets.push([now, offset]);
    while (this.#offsets[0][0] <= now - delayWindow) this.#offsets.shift();
  }

  #forget(now) {
    while (this.#drawn[0] <= now - window) this.#drawn.shift();
    while (this.#delays[0]?.[0] <= now - window) this.#delays.shift();
  }
}

function median(values) {
  const sorted = values.sort((a, b) => a - b);
  return sorted[Math.floor(sorted.length / 2)];
}
