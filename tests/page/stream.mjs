import { spawnSync } from 'node:child_process';

export const size = { width: 640, height: 360 };
const perSecond = 30;
const colours = ['-pix_fmt', 'yuv420p', '-color_range', 'tv', '-colorspace', 'smpte170m',
  '-color_primaries', 'bt709', '-color_trc', 'iec61966-2-1'];

function ffmpeg(args, input) {
  const { status, stdout, stderr } = spawnSync('ffmpeg', ['-v', 'error', ...args, 'pipe:1'],
    { input, maxBuffer: 1 << 28 });
  if (status !== 0) throw new Error(`ffmpeg: ${stderr}`);
  return stdout;
}

/** A stream like the program's: baseline, one slice in a picture, parameter sets before key frames. */
export function record(pictures) {
  const source = `testsrc2=size=${size.width}x${size.height}:rate=${perSecond}`;
  return ffmpeg(['-f', 'lavfi', '-i', source, '-frames:v', `${pictures}`,
    '-vf', 'scale=out_color_matrix=bt601:out_range=tv', ...colours, '-c:v', 'libx264',
    '-profile:v', 'baseline', '-preset', 'veryfast', '-tune', 'zerolatency', '-crf', '14',
    '-x264-params', 'keyint=30:scenecut=0:slices=1:sliced-threads=0:repeat-headers=1', '-f', 'h264']);
}

/** Its access units: each ends with its one slice. */
export function accessUnits(stream) {
  const units = [];
  let from = 0;
  let sliceSeen = false;
  for (let i = 0; i + 3 < stream.length; ++i) {
    if (stream[i] !== 0 || stream[i + 1] !== 0 || stream[i + 2] !== 1) continue;
    const start = i > 0 && stream[i - 1] === 0 ? i - 1 : i;
    if (sliceSeen) {
      units.push(stream.subarray(from, start));
      from = start;
    }
    const type = stream[i + 3] & 0x1f;
    sliceSeen = type === 1 || type === 5;
    i += 3;
  }
  units.push(stream.subarray(from));
  return units;
}

/** The pictures of a stream as bytes of red, green and blue. */
export function pictures(stream) {
  const all = ffmpeg(['-f', 'h264', '-i', 'pipe:0', '-vf', 'scale=in_color_matrix=bt601:in_range=tv',
    '-pix_fmt', 'rgb24', '-f', 'rawvideo'], stream);
  const one = size.width * size.height * 3;
  return Array.from({ length: all.length / one }, (_, i) => all.subarray(i * one, (i + 1) * one));
}

/** How alike two pictures are, in decibels. */
export function psnr(one, other) {
  let sum = 0;
  for (let i = 0; i < one.length; ++i) sum += (one[i] - other[i]) ** 2;
  return 10 * Math.log10((255 ** 2 * one.length) / Math.max(sum, 1e-9));
}
