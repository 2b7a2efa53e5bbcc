// A picture that would be so little smaller than its room is shown at the whole scale below.
const nearlyWhole = 1.04;

/**
 * Where a picture goes in a room, both edges in the screen's own pixels, so that none of the picture's
 * straddles two. It fills the room, or where `whole` is wanted takes the largest whole scale; at a
 * whole scale it is sharp. A picture larger than the room is scaled down to it in any case.
 */
export function placement(picture, room, pixelRatio, whole) {
  const roomWidth = Math.floor(room.width * pixelRatio);
  const roomHeight = Math.floor(room.height * pixelRatio);
  const fit = Math.min(roomWidth / picture.width, roomHeight / picture.height);
  const below = Math.floor(fit);
  const scale = below >= 1 && (whole || fit < below * nearlyWhole) ? below : fit;
  const width = Math.max(Math.round(picture.width * scale), 1);
  const height = Math.max(Math.round(picture.height * scale), 1);
  return {
    left: Math.floor((roomWidth - width) / 2) / pixelRatio,
    top: Math.floor((roomHeight - height) / 2) / pixelRatio,
    width: width / pixelRatio,
    height: height / pixelRatio,
    sharp: Number.isInteger(scale),
  };
}
