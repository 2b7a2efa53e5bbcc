// What is known of the connection, the program and the session. Pure: a state and what happened give
// the next state.

export const beginning = Object.freeze({
  link: 'connecting',   // open, lost, refused
  refusal: undefined,   // {code, reason}
  program: 'unknown',   // connected, gone
  session: 'none',      // requested, asking, starting, running, denied, fault
  message: '',          // the program's, with a denial or a fault
  code: undefined,      // of a fault
  mayControl: true,     // as far as the person's system goes
});

const gone = { session: 'none', message: '', code: undefined };

export function opened(state) {
  return { ...state, link: 'open', refusal: undefined };
}

export function lost(state) {
  return { ...state, ...gone, link: 'lost', program: 'unknown' };
}

export function refused(state, code, reason) {
  return { ...state, ...gone, link: 'refused', program: 'unknown', refusal: { code, reason } };
}

/** The program has come or gone; a session ends with it, what it said last is kept. */
export function programIs(state, program) {
  const said = state.session === 'fault' || state.session === 'denied';
  return { ...state, ...(program === 'gone' && !said ? gone : {}), link: 'open', program };
}

export function requested(state) {
  return { ...state, ...gone, session: 'requested' };
}

export function stopped(state) {
  return { ...state, ...gone };
}

/** A picture tells of a session too: one that ran before this page was there. */
export function watched(state) {
  return state.session === 'running' ? state : { ...state, ...gone, session: 'running' };
}

const states = new Map([['awaiting-consent', 'asking'], ['starting', 'starting']]);

export function told(state, { op, ...members }) {
  switch (op) {
    case 'hello':
      return { ...state, mayControl: members.accessibility !== false };
    case 'state':
      return states.has(members.state) ?
        { ...state, ...gone, session: states.get(members.state) } : state;
    case 'started':
      return { ...state, ...gone, session: 'running',
        mayControl: members.accessibility ?? state.mayControl };
    case 'denied':
    case 'fault':
      return { ...state, session: op, message: typeof members.message === 'string' ? members.message : '', code: members.code };
    default:
      return state;
  }
}

/** Whether a session is under way, so that it can be stopped. */
export const isUnderWay = ({ session }) =>
  ['requested', 'asking', 'starting', 'running'].includes(session);

/** Whether one can be asked for. */
export const canStart = (state) =>
  state.link === 'open' && state.program === 'connected' && !isUnderWay(state);
