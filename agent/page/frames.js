// What crosses the socket in binary: a kind, then the payload.
export const controlKind = 1;
export const inputKind = 2;
export const videoKind = 3;

const durationBytes = 4;

/** Half a character, which a name may hold, is in no message that the agent takes. */
const whole = (name, value) => (typeof value === 'string' ? value.toWellFormed() : value);

/** A message as a frame. */
export function encode(kind, message) {
  const text = new TextEncoder().encode(JSON.stringify(message, whole));
  const frame = new Uint8Array(1 + text.length);
  frame[0] = kind;
  frame.set(text, 1);
  return frame;
}

/** What a frame holds, or nothing where it is none that anybody here knows. */
export function decode(buffer) {
  const bytes = new Uint8Array(buffer);
  if (bytes[0] === controlKind) return controlOf(bytes.subarray(1));
  if (bytes[0] !== videoKind || bytes.length <= 1 + durationBytes) return undefined;
  const ticks = new DataView(bytes.buffer, bytes.byteOffset).getUint32(1, true);
  return { kind: videoKind, ticks, unit: bytes.subarray(1 + durationBytes) };
}

function controlOf(bytes) {
  const text = new TextDecoder().decode(bytes);
  try {
    const message = JSON.parse(text);
    if (typeof message?.op === 'string') return { kind: controlKind, message, text };
  } catch {
    // Not for us.
  }
  return undefined;
}
