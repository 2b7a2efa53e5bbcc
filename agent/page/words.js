// What the viewer reads about a state: `brief` for the bar, `title` and `text` for the screen's place.
// `tone` is one of calm, busy, good, bad; `action` what a button there offers.

const refusals = {
  4400: ['Something unexpected was sent',
    'The agent could not understand this page and has hung up. Load the page again.'],
  4401: ['This address no longer opens the session',
    'Its key is wrong, another browser has used it, or this one keeps no cookies. Take the address that ' +
    'vesk-agent has printed last.'],
  4410: ['The program is stuck',
    'It takes nothing any more. Try again when it goes on.'],
  4409: ['Somebody is watching already',
    'One viewer at a time. Close the other window, then try again here.'],
};

const linkWords = {
  connecting: {
    brief: 'Connecting', tone: 'busy', title: 'Connecting to the agent', text: 'This takes a moment.',
  },
  lost: {
    brief: 'Connection lost', tone: 'bad', title: 'The agent does not answer',
    text: 'It has ended, or is starting anew. This page tries again by itself.',
  },
};

const sessionWords = {
  requested: {
    brief: 'Asking for the screen', tone: 'busy', title: 'Asking for the screen',
    text: 'The program has been asked and will answer in a moment.',
  },
  asking: {
    brief: 'Waiting for consent', tone: 'busy', title: 'The person is being asked',
    text: 'A question stands on their screen: whether you may watch. They have a minute to answer.',
  },
  starting: {
    brief: 'Starting', tone: 'busy', title: 'Starting', text: 'The first picture is on its way.',
  },
  running: { brief: 'Watching', tone: 'good', title: 'Waiting for the first picture', text: '' },
  denied: {
    brief: 'Not allowed', tone: 'bad', title: 'You were not allowed to watch',
    text: 'The person said no, or did not answer within a minute. Agree with them, then ask again.',
    action: 'again',
  },
};

export function words(state) {
  if (state.link === 'refused') return refusalWords(state.refusal);
  if (state.link !== 'open') return linkWords[state.link];
  if (state.session === 'fault') return faultWords(state);
  if (state.session === 'denied') return sessionWords.denied;
  if (state.program !== 'connected') return programWords(state.program);
  return sessionWords[state.session] ?? {
    brief: 'Ready', tone: 'calm', title: 'Ready when you are',
    text: 'Nobody is being watched. Start a session to see the screen.', action: 'start',
  };
}

function programWords(program) {
  if (program === 'unknown') return linkWords.connecting;
  return {
    brief: 'No program', tone: 'calm', title: 'Waiting for Vesk Remote',
    text: 'The agent is there, but the program in the person’s session is not. As soon as it starts, ' +
      'you can go on here.',
  };
}

function refusalWords({ code, reason }) {
  const [title, text] = refusals[code] ?? ['The agent has hung up', reason || 'It gave no reason.'];
  return { brief: 'Refused', tone: 'bad', title, text, action: code === 4401 ? undefined : 'retry' };
}

function faultWords({ code, message, program }) {
  const action = program === 'connected' ? 'start' : undefined;
  if (code === 'screen-recording') {
    return {
      brief: 'Not permitted', tone: 'bad', title: 'The system does not let the screen be recorded',
      text: message, action,
    };
  }
  return {
    brief: 'Stopped by a fault', tone: 'bad', title: 'The screen cannot be shown',
    text: message || 'The program gave no reason.', action,
  };
}

/** Where the browser itself is what is missing. */
export const noDecoder = {
  brief: 'Browser too old', tone: 'bad', title: 'This browser cannot show the screen',
  text: 'It has no WebCodecs, which decode the picture. A current Chromium, Chrome, Edge, Firefox or ' +
    'Safari has.',
};

export const decoderFails = (reason) => ({
  brief: 'No picture', tone: 'bad', title: 'This browser cannot decode the picture',
  text: `Its decoder says: ${reason}`, action: 'retry',
});

/** What the viewer's hands can do at the moment. */
export function handsWords({ session, mayControl }, allowed) {
  if (session !== 'running') return '';
  if (!allowed) return 'You are only watching: input is not allowed.';
  if (!mayControl) return 'You are only watching: the person’s system lets nobody else type or click.';
  return '';
}
