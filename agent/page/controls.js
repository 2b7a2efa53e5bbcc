import {
  bitRates, bitRateStep, bitRateWords, load, save, startRequest,
} from './settings.js';
import { canStart, isUnderWay } from './session.js';

const element = (id) => document.getElementById(id);
const checks = ['consent', 'input', 'whole'];
const percents = { strip: '%', border: '%', thickness: ' points' };

/**
 * The bar and the panel: what the viewer sets and presses.
 *
 * owner: start(), stop(), fullScreen(), control(message), changed(), type(text).
 */
export class Controls {
  #owner;
  #storage;
  settings;

  /** storage: what the tab remembers. */
  constructor(owner, storage) {
    this.#owner = owner;
    this.#storage = storage;
    this.settings = load(storage);
    this.#showSettings();
    this.#listenToSettings();
    this.#listenToButtons();
    this.#listenToDialog();
  }

  get startRequest() {
    return startRequest(this.settings);
  }

  show(state) {
    const underWay = isUnderWay(state);
    const hadFocus = [element('start'), element('stop')].includes(document.activeElement);
    element('start').hidden = underWay;
    element('start').disabled = !canStart(state);
    element('stop').hidden = !underWay;
    // The button that was pressed goes; the other one stands in its place.
    if (hadFocus) element(underWay ? 'stop' : 'start').focus();
    element('keyframe').disabled = state.session !== 'running';
  }

  showHands(active) {
    element('send-text').disabled = !active;
  }

  /** The viewer watches what another one began, and has allowed nothing. */
  withdrawInput() {
    element('input').checked = false;
    this.#set('input', false);
  }

  askForText() {
    element('text').value = '';
    element('text-dialog').returnValue = '';
    element('text-dialog').showModal();
  }

  #set(name, value) {
    this.settings[name] = value;
    save(this.#storage, this.settings);
    this.#owner.changed();
  }

  #showSettings() {
    element('viewer').value = this.settings.viewer;
    element('fps').value = String(this.settings.fps);
    element('bitrate').max = String(bitRates.length - 1);
    element('bitrate').value = String(bitRateStep(this.settings.bitrateKbps));
    this.#showBitRate();
    for (const name of checks) element(name).checked = this.settings[name];
    for (const name of Object.keys(percents)) {
      element(name).value = String(this.settings[name]);
      this.#showPercents(name);
    }
  }

  #showBitRate() {
    const shown = bitRateWords(this.settings.bitrateKbps);
    element('bitrate-words').value = shown;
    element('bitrate').setAttribute('aria-valuetext', shown);
  }

  #showPercents(name) {
    element(`${name}-words`).value = this.settings[name] + percents[name];
  }

  #listenToSettings() {
    element('settings').addEventListener('submit', (event) => event.preventDefault());
    element('viewer').addEventListener('change', ({ target }) => {
      this.#set('viewer', target.value.trim());
      this.#owner.control({ op: 'viewer', name: this.settings.viewer });
    });
    element('fps').addEventListener('change', ({ target }) => this.#set('fps', Number(target.value)));
    element('bitrate').addEventListener('input', ({ target }) => {
      this.#set('bitrateKbps', bitRates[Number(target.value)]);
      this.#showBitRate();
      this.#owner.control({ op: 'bitrate', bitrateKbps: this.settings.bitrateKbps });
    });
    for (const name of checks) {
      element(name).addEventListener('change', ({ target }) => {
        this.#set(name, target.checked);
        if (name === 'input') this.#owner.control({ op: 'input', allowed: target.checked });
      });
    }
    for (const name of Object.keys(percents)) {
      element(name).addEventListener('input', ({ target }) => {
        this.#set(name, Number(target.value));
        this.#showPercents(name);
      });
    }
  }

  #listenToButtons() {
    const on = (id, action) => element(id).addEventListener('click', action);
    on('start', () => this.#owner.start());
    on('stop', () => this.#owner.stop());
    on('full-screen', () => this.#owner.fullScreen());
    on('keyframe', () => this.#owner.control({ op: 'keyframe' }));
    on('send-text', () => this.askForText());
    on('panel-toggle', () => {
      const shown = element('panel').hidden;
      element('panel').hidden = !shown;
      element('panel-toggle').setAttribute('aria-expanded', String(shown));
    });
  }

  #listenToDialog() {
    const dialog = element('text-dialog');
    element('text-cancel').addEventListener('click', () => dialog.close('cancel'));
    dialog.addEventListener('close', () => {
      if (dialog.returnValue === 'send') this.#owner.type(element('text').value);
    });
  }
}
