// What one message of text holds: characters as a reader counts them, and UTF-16 units.
const mostCharacters = 512;
const mostUnits = 2048;

/** What may be pasted at once; more would keep the host typing for a minute. */
export const mostPasted = 20000;

/** A text in pieces that one message each can hold, none of them ending within a character. */
export function pieces(text) {
  const all = [];
  let piece = '';
  let characters = 0;
  const segments = new Intl.Segmenter().segment(text.toWellFormed().replace(/\r\n?/g, '\n'));
  for (const { segment } of segments) {
    if (segment.length > mostUnits) continue;
    if (characters === mostCharacters || piece.length + segment.length > mostUnits) {
      all.push(piece);
      piece = '';
      characters = 0;
    }
    piece += segment;
    ++characters;
  }
  if (piece !== '') all.push(piece);
  return all;
}
