import { controlKind, decode, encode, inputKind } from './frames.js';

const firstRetry = 500;   // milliseconds
const lastRetry = 4000;
// Codes by which the agent says that trying again changes nothing.
const refusalCodes = new Set([4400, 4401, 4403, 4409, 4410]);

/**
 * The WebSocket to the agent, which it opens again when it is lost, ever more slowly.
 *
 * owner: opened(), lost(), refused(code, reason), text(message), control(message, text),
 * video({ticks, unit}, bytes). What is sent while there is no connection is lost.
 */
export class Connection {
  #owner;
  #address;
  #key;
  #socket;
  #retry = firstRetry;

  constructor(address, key, owner) {
    this.#address = address;
    this.#key = key;
    this.#owner = owner;
  }

  open() {
    const socket = new WebSocket(this.#address, 'vesk-viewer.1');
    socket.binaryType = 'arraybuffer';
    socket.onopen = () => {
      socket.send(JSON.stringify({ key: this.#key }));
      this.#owner.opened();
    };
    socket.onmessage = ({ data }) => this.#take(data);
    socket.onclose = (event) => this.#end(event);
    this.#socket = socket;
  }

  control(message) {
    this.#send(encode(controlKind, message));
  }

  input(message) {
    this.#send(encode(inputKind, message));
  }

  /** Bytes that the browser still holds back. */
  get waiting() {
    return this.#socket?.bufferedAmount ?? 0;
  }

  #send(frame) {
    if (this.#socket?.readyState === WebSocket.OPEN) this.#socket.send(frame);
  }

  #take(data) {
    this.#retry = firstRetry;
    if (typeof data === 'string') return this.#owner.text(JSON.parse(data) ?? {});
    const frame = decode(data);
    if (frame?.kind === controlKind) this.#owner.control(frame.message, frame.text);
    else if (frame) this.#owner.video(frame, data.byteLength);
  }

  #end({ code, reason }) {
    this.#socket = undefined;
    if (refusalCodes.has(code)) return this.#owner.refused(code, reason);
    this.#owner.lost();
    setTimeout(() => this.open(), this.#retry);
    this.#retry = Math.min(this.#retry * 2, lastRetry);
  }
}
