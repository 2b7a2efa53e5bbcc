import { createHash } from 'node:crypto';
import { readFile } from 'node:fs/promises';
import { createServer } from 'node:http';

const page = new URL('../../agent/page/', import.meta.url);
const types = { html: 'text/html; charset=utf-8', css: 'text/css', js: 'text/javascript' };
const headers = {
  'Content-Security-Policy': "default-src 'none'; script-src 'self'; style-src 'self'; " +
    "img-src 'self' data:; connect-src 'self'; base-uri 'none'; form-action 'none'; " +
    "frame-ancestors 'none'",
  'X-Content-Type-Options': 'nosniff',
  'Referrer-Policy': 'no-referrer',
  'Cross-Origin-Opener-Policy': 'same-origin',
  'Cross-Origin-Resource-Policy': 'same-origin',
  'Cache-Control': 'no-store',
};
const closing = 8;
const shortest = 126;

/**
 * Serves the page and plays the agent and the program behind it at a test's command. Whoever gives
 * another key than its own is refused; the last viewer that came is the one that is spoken to.
 */
export class StandInAgent {
  key = 'k3y';
  program = 'connected';
  heard = [];        // {kind, message} in order
  #server = createServer((request, response) => this.#serve(request, response));
  #viewers = new Set();
  #viewer;
  #waiting = new Set();

  async listen() {
    this.#server.on('upgrade', (request, socket) => this.#accept(request, socket));
    await new Promise((done) => this.#server.listen(0, '127.0.0.1', done));
    return `http://127.0.0.1:${this.#server.address().port}/`;
  }

  close() {
    for (const viewer of this.#viewers) viewer.socket.destroy();
    this.#server.closeAllConnections();
    this.#server.close();
  }

  text(message) {
    this.#viewer.send(1, Buffer.from(JSON.stringify(message)));
  }

  control(message) {
    this.#viewer.send(2, Buffer.concat([Buffer.from([1]), Buffer.from(JSON.stringify(message))]));
  }

  video(unit, ticks = 3000) {
    const head = Buffer.alloc(5);
    head[0] = 3;
    head.writeUInt32LE(ticks, 1);
    this.#viewer.send(2, Buffer.concat([head, unit]));
  }

  /** Hangs up, with a reason or, without one, as a crash would. */
  hangUp(code, reason = '') {
    if (code) this.#viewer.end(code, reason);
    else this.#viewer.socket.destroy();
  }

  ops() {
    return this.heard.filter(({ kind }) => kind === 1).map(({ message }) => message);
  }

  inputs() {
    return this.heard.filter(({ kind }) => kind === 2).map(({ message }) => message);
  }

  /** Comes back when what was heard is enough. */
  async until(isEnough) {
    while (!isEnough(this)) await new Promise((done) => this.#waiting.add(done));
  }

  async #serve(request, response) {
    const name = new URL(request.url, 'http://x').pathname.slice(1) || 'index.html';
    const type = types[name.split('.').at(-1)];
    try {
      if (!type || name.includes('/')) throw new Error('none');
      const body = await readFile(new URL(name, page));
      response.writeHead(200, { ...headers, 'Content-Type': type }).end(body);
    } catch {
      response.writeHead(404, headers).end('Not here.\n');
    }
  }

  #accept(request, socket) {
    const accepted = createHash('sha1')
      .update(`${request.headers['sec-websocket-key']}258EAFA5-E914-47DA-95CA-C5AB0DC85B11`)
      .digest('base64');
    socket.write('HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n' +
      `Sec-WebSocket-Protocol: vesk-viewer.1\r\nSec-WebSocket-Accept: ${accepted}\r\n\r\n`);
    const viewer = new Viewer(socket, (opcode, payload) => this.#take(viewer, opcode, payload));
    this.#viewers.add(viewer);
    socket.on('close', () => this.#viewers.delete(viewer));
  }

  #take(viewer, opcode, payload) {
    if (opcode === 1) {
      if (JSON.parse(payload).key !== this.key) return viewer.end(4401, 'wrong key');
      this.#viewer = viewer;
      this.text({ program: this.program });
    } else if (opcode === 2) {
      this.heard.push({ kind: payload[0], message: JSON.parse(payload.subarray(1)) });
    }
    for (const done of this.#waiting) done();
    this.#waiting.clear();
  }
}

/** One WebSocket, of whole messages in frames of their own. */
class Viewer {
  #received = Buffer.alloc(0);

  constructor(socket, take) {
    this.socket = socket;
    socket.on('error', () => {});
    socket.on('data', (data) => {
      this.#received = Buffer.concat([this.#received, data]);
      for (let frame; (frame = this.#next());) take(frame.opcode, frame.payload);
    });
  }

  send(opcode, payload) {
    const { length } = payload;
    const head = Buffer.alloc(length < shortest ? 2 : length < 65536 ? 4 : 10);
    head[0] = 0x80 | opcode;
    head[1] = length < shortest ? length : length < 65536 ? shortest : shortest + 1;
    if (head.length === 4) head.writeUInt16BE(length, 2);
    if (head.length === 10) head.writeBigUInt64BE(BigInt(length), 2);
    this.socket.write(Buffer.concat([head, payload]));
  }

  end(code, reason) {
    const words = Buffer.from(reason);
    const payload = Buffer.alloc(2 + words.length);
    payload.writeUInt16BE(code);
    words.copy(payload, 2);
    this.send(closing, payload);
    this.socket.end();
  }

  #next() {
    const all = this.#received;
    if (all.length < 2) return undefined;
    let length = all[1] & 0x7f;
    let at = 2;
    if (length === shortest) {
      if (all.length < 4) return undefined;
      length = all.readUInt16BE(2);
      at = 4;
    }
    if (all.length < at + 4 + length) return undefined;
    const mask = all.subarray(at, at + 4);
    const payload = all.subarray(at + 4, at + 4 + length).map((byte, i) => byte ^ mask[i % 4]);
    this.#received = all.subarray(at + 4 + length);
    return { opcode: all[0] & 0x0f, payload: Buffer.from(payload) };
  }
}
