const sequenceSet = 7;
const keySlice = 5;

/** The NAL units of an access unit in the byte stream form: where each begins and ends. */
export function* nalUnits(unit) {
  let begin = -1;
  for (let i = 0; i + 2 < unit.length; ++i) {
    if (unit[i] !== 0 || unit[i + 1] !== 0 || unit[i + 2] !== 1) continue;
    if (begin >= 0) yield unit.subarray(begin, i);
    begin = i + 3;
    i += 2;
  }
  if (begin >= 0 && begin < unit.length) yield unit.subarray(begin);
}

/**
 * What a decoder has to know before it gets an access unit: whether it is a key frame, and its sequence
 * parameter set, as the name of a codec. Reads no further than the first slice.
 */
export function describe(unit) {
  let codec;
  for (const nal of nalUnits(unit)) {
    const type = nal[0] & 0x1f;
    if (type === sequenceSet && nal.length >= 4) codec = codecName(nal);
    if (type === keySlice) return { key: codec !== undefined, codec };
    if (type >= 1 && type < keySlice) break;
  }
  return { key: false, codec };
}

const codecName = (set) =>
  'avc1.' + [...set.subarray(1, 4)].map((byte) => byte.toString(16).padStart(2, '0')).join('');
