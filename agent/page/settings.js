// What the viewer has chosen. Kept for as long as the tab is, so that a reload goes on with it.
const place = 'vesk-settings';

// Kilobits a second, evenly spread to the eye.
export const bitRates = [200, 300, 400, 500, 700, 1000, 1500, 2000, 2500, 3000, 4000, 5000, 6000, 8000,
  10000, 12000, 15000, 20000];

export const defaults = Object.freeze({
  viewer: '', consent: true, input: true, fps: 30, bitrateKbps: 4000, strip: 100, border: 80,
  thickness: 8, whole: false,
});

/** What the tab remembers; where a browser allows none of it, for as long as the page is there. */
export function tabStorage(window) {
  try {
    return window.sessionStorage;
  } catch {
    const items = new Map();
    return {
      getItem: (name) => items.get(name) ?? null,
      setItem: (name, value) => items.set(name, value),
      removeItem: (name) => items.delete(name),
    };
  }
}

export function load(storage) {
  try {
    const stored = JSON.parse(storage.getItem(place)) ?? {};
    const known = Object.entries(stored).filter(([name, value]) =>
      typeof value === typeof defaults[name]);
    return { ...defaults, ...Object.fromEntries(known) };
  } catch {
    return { ...defaults };
  }
}

export function save(storage, settings) {
  storage.setItem(place, JSON.stringify(settings));
}

/** The request for a session with these settings. */
export function startRequest({ viewer, consent, input, fps, bitrateKbps, strip, border, thickness }) {
  return { op: 'start', viewer, consent, input, fps, bitrateKbps, banner: { strip, border, thickness } };
}

/** The step of the slider that is nearest to a rate. */
export function bitRateStep(kilobits) {
  const distance = (rate) => Math.abs(Math.log(rate / kilobits));
  return bitRates.reduce((best, rate, step) =>
    distance(rate) < distance(bitRates[best]) ? step : best, 0);
}

export const bitRateWords = (kilobits) =>
  kilobits < 1000 ? `${kilobits} kbit/s` : `${kilobits / 1000} Mbit/s`;

/** The key of the session, from the address the first time and from the tab from then on. */
export function takeKey(location, history, storage) {
  const given = new URLSearchParams(location.search).get('key');
  if (given) {
    storage.setItem('vesk-key', given);
    history.replaceState(null, '', location.pathname);
  }
  return storage.getItem('vesk-key') ?? '';
}
