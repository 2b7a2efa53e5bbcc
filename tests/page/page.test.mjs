import assert from 'node:assert/strict';
import { mkdirSync, readFileSync } from 'node:fs';
import { after, afterEach, before, beforeEach, describe, test as anyTest } from 'node:test';
import { keys } from '../../agent/page/keys.js';
import { Browser } from './Browser.mjs';
import { StandInAgent } from './StandInAgent.mjs';
import { accessUnits, pictures, psnr, record, size } from './stream.mjs';

const patience = { timeout: Number(process.env.VESK_PATIENCE ?? 60000) };
const test = (name, body) => anyTest(name, patience, body);
const alikeEnough = 34;  // decibels: other roundings of the colours, and not another picture
const shots = process.env.VESK_PAGE_PICTURES;
const ctrlAltShift = 1 + 2 + 8;  // as the browser's driver counts modifiers

const stream = record(45);
const units = accessUnits(stream);
let browser;
let agent;
let page;
let address;

before(() => { browser = new Browser(); });
after(() => browser.close());

beforeEach(async () => {
  agent = new StandInAgent();
  address = await agent.listen();
  page = await browser.page();
}, patience);

afterEach(async () => {
  agent.close();
  await page.close();
  assert.deepEqual(page.complaints.filter((text) => !text.includes('WebSocket')), []);
});

const brief = (words) => page.until(`document.querySelector('#status-words')?.textContent === '${words}'`);

async function open() {
  await page.open(`${address}?key=${agent.key}`);
  await brief('Ready');
}

/** Up to the first picture. */
async function watch(accessibility = true) {
  await open();
  await page.click('#start');
  await agent.until(() => agent.ops().some(({ op }) => op === 'start'));
  agent.control({ op: 'state', state: 'starting' });
  agent.control({ op: 'started', ...size, accessibility });
  agent.video(units[0]);
  await page.until("!document.querySelector('#canvas').hidden");
  await brief('Watching');
}

async function shot(name) {
  if (!shots) return;
  mkdirSync(shots, { recursive: true });
  await page.picture(`${shots}/${name}.png`);
}

/** The rest of the stream, in parts that no decoder is a second behind with. */
async function playOn() {
  const part = 20;
  for (let from = 1; from < units.length; from += part) {
    units.slice(from, from + part).forEach((unit) => agent.video(unit));
    const all = Math.min(from + part, units.length);
    await page.until(`document.querySelector('#figure-decoded').textContent === '${all}'`);
  }
}

const kept = () => agent.inputs().filter(({ e }) => e !== 'move');
const canvasPixels = () => page.evaluate(`(() => {
  const canvas = document.querySelector('#canvas');
  const { data } = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);
  let text = '';
  for (let i = 0; i < data.length; i += 4) text += String.fromCharCode(data[i], data[i + 1], data[i + 2]);
  return btoa(text);
})()`).then((text) => Buffer.from(text, 'base64'));

describe('the picture', () => {
  test('is the stream’s, from the first to the last', async () => {
    const expected = pictures(stream);
    await watch();
    assert.ok(psnr(await canvasPixels(), expected[0]) > alikeEnough);
    await playOn();
    const alike = psnr(await canvasPixels(), expected.at(-1));
    assert.ok(alike > alikeEnough, `${alike} dB`);
    assert.equal(await page.text('#figure-size'), `${size.width} × ${size.height}`);
  });

  test('begins at a key frame, and asks for one', async () => {
    await open();
    agent.video(units[1]);
    await agent.until(() => agent.ops().some(({ op }) => op === 'keyframe'));
    agent.video(units[0]);
    await page.until("!document.querySelector('#canvas').hidden");
  });

  test('comes back after what no decoder understands', async () => {
    await watch();
    const broken = Buffer.from(units[0]);
    broken[5] = 0xff;  // a profile that nobody has
    agent.video(broken);
    agent.video(units[1]);
    await agent.until(() => agent.ops().some(({ op }) => op === 'keyframe'));
    agent.video(units[30]);
    await page.until("Number(document.querySelector('#figure-decoded').textContent) >= 2");
    await brief('Watching');
  });

  test('goes with the session', async () => {
    await watch();
    await page.click('#stop');
    await agent.until(() => agent.ops().some(({ op }) => op === 'stop'));
    agent.video(units[1]);
    await brief('Ready');
    assert.ok(await page.evaluate("document.querySelector('#canvas').hidden"));
  });

  test('is as sharp as the screen at a whole scale', async () => {
    await watch();
    await page.click('#whole');
    const at = await page.evaluate(`(() => {
      const { left, top, width } = document.querySelector('#canvas').getBoundingClientRect();
      return { left, top, width };
    })()`);
    assert.equal(at.width, size.width);
    assert.ok(Number.isInteger(at.left) && Number.isInteger(at.top));
  });
});

describe('the viewer’s hands', () => {
  test('have every key', async () => {
    await watch();
    const modifiers = { Shift: 8, Control: 2, Alt: 1, Meta: 4 };
    for (const code of keys.keys()) {
      const held = modifiers[code.replace(/Left$|Right$/, '')] ?? 0;
      await page.key('down', code, { modifiers: held });
      await page.key('up', code);
    }
    await page.key('down', 'Space');  // by which Caps Lock is seen to be off
    await page.key('up', 'Space');
    const wanted = [];
    for (const [code, [key, extended]] of keys) {
      const flag = extended ? 'x' : '';
      wanted.push(`down ${key}${flag}`);
      if (code !== 'CapsLock') wanted.push(`up ${key}${flag}`);
      else wanted.push(`up ${key}`);
    }
    wanted.push('down 32', 'up 32');
    await agent.until(() => kept().length >= wanted.length);
    assert.deepEqual(kept().map(({ c, e, x }) => `${e} ${c}${x ? 'x' : ''}`), wanted);
  });

  test('press, drag and turn the wheel where the pointer is', async () => {
    await watch();
    const at = await page.evaluate(`(() => {
      const { left, top, width, height } = document.querySelector('#canvas').getBoundingClientRect();
      return { left, top, width, height };
    })()`);
    const [x, y] = [at.left + at.width / 2, at.top + at.height / 4];
    await page.mouse('mouseMoved', x, y);
    await page.mouse('mousePressed', x, y, { button: 'left', buttons: 1, clickCount: 1 });
    await page.mouse('mouseMoved', at.left - 40, y, { button: 'left', buttons: 1 });
    await page.mouse('mouseReleased', at.left - 40, y, { button: 'left', buttons: 0 });
    await page.mouse('mouseWheel', x, y, { deltaX: 0, deltaY: 120, modifiers: 2 });
    await agent.until(() => agent.inputs().some(({ e }) => e === 'wheel'));
    const told = agent.inputs().filter(({ t }) => t === 'm');
    const down = told.find(({ e }) => e === 'down');
    assert.ok(Math.abs(down.x - 0.5) < 0.002 && Math.abs(down.y - 0.25) < 0.002);
    assert.equal(down.b, 0);
    const dragged = told.slice(told.indexOf(down) + 1);
    assert.deepEqual(dragged.map(({ e, x: to }) => [e, to > 0 ? 'inside' : to]),
      [['move', 0], ['up', 0], ['wheel', 'inside']]);
    assert.deepEqual([dragged[2].d, dragged[2].m], [-1, 2]);
  });

  test('let go of everything when the keyboard goes elsewhere', async () => {
    await watch();
    await page.key('down', 'ShiftLeft', { modifiers: 8 });
    await page.key('down', 'KeyA', { modifiers: 8 });
    await page.evaluate("document.querySelector('#viewer').focus()");
    await agent.until(() => kept().length >= 4);
    assert.deepEqual(kept().map(({ e, c, m }) => `${e} ${c} m${m}`),
      ['down 160 m1', 'down 65 m1', 'up 65 m1', 'up 160 m0']);
  });

  test('type what an input method writes', async () => {
    await watch();
    await page.ask('Input.imeSetComposition', { text: 'にほ', selectionStart: 2, selectionEnd: 2 });
    await page.ask('Input.insertText', { text: '日本語' });
    await agent.until(() => kept().length >= 1);
    await page.ask('Input.insertText', { text: '🧑‍🚀' });
    await agent.until(() => kept().length >= 2);
    assert.deepEqual(kept(), [{ t: 'u', s: '日本語' }, { t: 'u', s: '🧑‍🚀' }]);
  });

  test('type what is pasted, in pieces', async () => {
    await watch();
    await page.evaluate(`(() => {
      const clipboardData = new DataTransfer();
      clipboardData.setData('text/plain', 'Grüße, Привет, 你好 🎉\\r\\n' + 'x'.repeat(600));
      document.querySelector('#field').dispatchEvent(
        new ClipboardEvent('paste', { clipboardData, cancelable: true }));
    })()`);
    await agent.until(() => kept().length >= 2);
    assert.ok(kept()[0].s.startsWith('Grüße, Привет, 你好 🎉\nxxx'));
    assert.equal(kept().map(({ s }) => s).join('').length, 'Grüße, Привет, 你好 🎉\n'.length + 600);
  });

  test('type what is written in the window for it, and nothing that was called off', async () => {
    await watch();
    const write = (text) => page.evaluate(`document.querySelector('#text').value = '${text}'`);
    await page.click('#send-text');
    await write('Grüße');
    await page.click('dialog .primary');
    await agent.until(() => kept().length >= 1);
    await page.click('#send-text');
    await write('no');
    await page.ask('Input.dispatchKeyEvent', { type: 'rawKeyDown', key: 'Escape', code: 'Escape',
      windowsVirtualKeyCode: 27 });
    await page.until("!document.querySelector('dialog').open");
    await page.click('#keyframe');
    await agent.until(() => agent.ops().some(({ op }) => op === 'keyframe'));
    assert.deepEqual(kept(), [{ t: 'u', s: 'Grüße' }]);
  });

  test('type by a key what was copied, where the browser lets them', async () => {
    await watch();
    await browser.ask('Browser.grantPermissions', { origin: address.slice(0, -1),
      permissions: ['clipboardReadWrite', 'clipboardSanitizedWrite'], browserContextId: page.context });
    await page.evaluate("navigator.clipboard.writeText('Ελλάδα')");
    await page.key('down', 'KeyV', { key: 'V', modifiers: ctrlAltShift });
    await agent.until(() => kept().length >= 1);
    assert.deepEqual(kept(), [{ t: 'u', s: 'Ελλάδα' }]);
  });

  test('have a window for it where the browser does not', async () => {
    await watch();
    await page.evaluate("navigator.clipboard.readText = () => Promise.reject(new Error('no'))");
    await page.key('down', 'KeyV', { key: 'V', modifiers: ctrlAltShift });
    await page.until("document.querySelector('dialog').open");
  });

  test('type no more at once than the host can soon be done with', async () => {
    await watch();
    await page.click('#send-text');
    await page.evaluate("document.querySelector('#text').value = 'x'.repeat(20001)");
    await page.click('dialog .primary');
    await page.until("document.querySelector('#toast').textContent.includes('20001')");
    assert.deepEqual(kept(), []);
  });

  test('press nothing that was pressed beside the picture', async () => {
    await watch();
    const beside = await page.evaluate(`(() => {
      const stage = document.querySelector('#stage').getBoundingClientRect();
      return { x: stage.left + stage.width / 2, top: stage.top + 8, middle: stage.top + stage.height / 2 };
    })()`);
    const left = { button: 'left', buttons: 1 };
    await page.mouse('mousePressed', beside.x, beside.top, { ...left, clickCount: 1 });
    await page.mouse('mouseMoved', beside.x, beside.middle, left);
    await page.mouse('mouseReleased', beside.x, beside.middle, { button: 'left', clickCount: 1 });
    await page.mouse('mousePressed', beside.x, beside.middle, { ...left, clickCount: 1 });
    await agent.until(() => kept().length >= 1);
    assert.deepEqual(kept().map(({ e, b }) => [e, b]), [['down', 0]]);
  });

  test('let go of everything when the window loses the keyboard', async () => {
    await watch();
    await page.key('down', 'AltLeft', { modifiers: 1 });
    await page.evaluate("window.dispatchEvent(new Event('blur'))");
    await agent.until(() => kept().length >= 2);
    assert.deepEqual(kept().map(({ e, c, m }) => `${e} ${c} m${m}`), ['down 164 m4', 'up 164 m0']);
  });

  test('have a key that leads away from the screen', async () => {
    await watch();
    assert.equal(await page.evaluate('document.activeElement.id'), 'field');
    await page.key('down', 'Tab', { key: 'Tab' });
    await page.key('up', 'Tab', { key: 'Tab' });
    assert.equal(await page.evaluate('document.activeElement.id'), 'field');
    await page.key('down', 'Escape', { key: 'Escape', modifiers: ctrlAltShift });
    await page.until("document.activeElement.id === 'stop'");
  });

  test('do nothing where input is not allowed', async () => {
    await watch();
    await page.click('#input');
    await agent.until(() => agent.ops().some(({ op }) => op === 'input'));
    await page.mouse('mousePressed', 400, 300, { button: 'left', buttons: 1, clickCount: 1 });
    await page.click('#keyframe');
    await agent.until(() => agent.ops().some(({ op }) => op === 'keyframe'));
    assert.deepEqual(agent.inputs(), []);
  });

  test('go to full screen by a key and back', async () => {
    await watch();
    for (const there of ['true', 'false']) {
      await page.key('down', 'KeyF', { key: 'F', modifiers: ctrlAltShift });
      await page.key('up', 'KeyF', { key: 'F' });
      await page.until(`!!document.fullscreenElement === ${there}`);
    }
  });
});

/** As if the browser were on another machine. */
function on(platform, name) {
  return page.ask('Emulation.setUserAgentOverride', { userAgent: 'Mozilla/5.0', platform,
    userAgentMetadata: { platform: name, platformVersion: '1', architecture: '', model: '',
      mobile: false } });
}

describe('on other machines', () => {
  test('AltGr of Windows is right Alt, and left Control still is one', async () => {
    await on('Win32', 'Windows');
    await watch();
    await page.key('down', 'ControlLeft', { key: 'Control', modifiers: 2 });
    await agent.until(() => kept().length >= 1);
    await page.key('up', 'ControlLeft', { key: 'Control' });
    // Both in one go, as the one stroke that they are.
    await page.evaluate(`for (const code of ['ControlLeft', 'AltRight']) {
      const event = new KeyboardEvent('keydown', { code, key: code, cancelable: true,
        ctrlKey: true, altKey: code === 'AltRight', modifierAltGraph: code === 'AltRight' });
      document.querySelector('#field').dispatchEvent(event);
    }`);
    await agent.until(() => kept().length >= 3);
    assert.deepEqual(kept().map(({ e, c, m }) => `${e} ${c} m${m}`),
      ['down 162 m2', 'up 162 m0', 'down 165 m4']);
  });

  test('a Mac’s page says which key Command is', async () => {
    await on('MacIntel', 'macOS');
    await open();
    assert.match(await page.text('#platform-words'), /Command is the Windows key/);
  });

  test('others’ pages need not', async () => {
    await open();
    assert.doesNotMatch(await page.text('#platform-words'), /Command/);
  });
});

describe('the bar', () => {
  test('can be used by keys alone', async () => {
    const tab = { key: 'Tab', code: 'Tab', windowsVirtualKeyCode: 9 };
    const press = async (key) => {
      await page.ask('Input.dispatchKeyEvent', { type: 'keyDown', ...key });
      await page.ask('Input.dispatchKeyEvent', { type: 'keyUp', ...key });
    };
    await open();
    const visited = [];
    for (let i = 0; i < 8; ++i) {
      await press(tab);
      visited.push(await page.evaluate('document.activeElement.id'));
    }
    assert.deepEqual(visited, ['start', 'full-screen', 'panel-toggle', 'card-action', 'viewer',
      'consent', 'input', 'fps']);
    await press(tab);
    await press({ key: 'ArrowRight', code: 'ArrowRight', windowsVirtualKeyCode: 39 });
    await agent.until(() => agent.ops().length >= 1);
    assert.deepEqual(agent.ops(), [{ op: 'bitrate', bitrateKbps: 5000 }]);
    assert.equal(await page.evaluate("document.activeElement.getAttribute('aria-valuetext')"), '5 Mbit/s');
  });

  test('asks for the session that was set', async () => {
    await open();
    await page.evaluate(`(() => {
      const set = (id, value, event) => {
        const element = document.getElementById(id);
        element.value = value;
        element.dispatchEvent(new Event(event, { bubbles: true }));
      };
      set('viewer', 'Ada', 'change');
      set('fps', '15', 'change');
      set('bitrate', '5', 'input');
      set('strip', '50', 'input');
    })()`);
    await page.click('#consent');
    await page.click('#start');
    await agent.until(() => agent.ops().some(({ op }) => op === 'start'));
    assert.deepEqual(agent.ops(), [
      { op: 'viewer', name: 'Ada' },
      { op: 'bitrate', bitrateKbps: 1000 },
      { op: 'start', viewer: 'Ada', consent: false, input: true, fps: 15, bitrateKbps: 1000,
        banner: { strip: 50, border: 80, thickness: 8 } },
    ]);
  });

  test('keeps the key out of the address, and goes on after a reload', async () => {
    await open();
    assert.equal(await page.evaluate('location.href'), address);
    await page.reload();
    await brief('Ready');
    agent.video(units[0]);
    await brief('Watching');
    await agent.until(() => agent.ops().length >= 2);
    assert.deepEqual(agent.ops(), [{ op: 'input', allowed: false }, { op: 'input', allowed: true }]);
  });
});

test('what is written to the page between sessions is shown', async () => {
  await open();
  agent.text({ note: 'The disk is full.' });
  agent.text({ dropped: 7 });
  await page.until("document.querySelector('#toast').textContent === 'The disk is full.'");
  await page.until("document.querySelector('#figure-dropped').textContent === '7'");
  await page.click('#start');
  await page.until("document.querySelector('#messages').textContent.includes('→ {\"op\":\"start\"')");
});

describe('each state', () => {
  const states = [
    ['ready', 'Ready', () => {}],
    ['asking', 'Waiting for consent', () => agent.control({ op: 'state', state: 'awaiting-consent' })],
    ['denied', 'Not allowed', () => agent.control({ op: 'denied', message: 'No.' })],
    ['fault', 'Stopped by a fault', () =>
      agent.control({ op: 'fault', message: 'The Mac stopped sharing its screen: it is gone.' })],
    ['permission', 'Not permitted', () => agent.control({ op: 'fault', code: 'screen-recording',
      message: 'Screen Recording has not been allowed.' })],
    ['no-program', 'No program', () => agent.text({ program: 'gone' })],
    ['lost', 'Connection lost', () => { agent.close(); }],
    ['second', 'Refused', () => agent.hangUp(4409, 'another viewer is there')],
    ['wrong-key', 'Refused', () => agent.hangUp(4401, 'wrong key')],
  ];
  for (const [name, words, happen] of states) {
    test(`has its words: ${name}`, async () => {
      await open();
      happen();
      await brief(words);
      const said = await page.text('#announcement');
      assert.equal(said, `${await page.text('#card-title')}. ${await page.text('#card-text')}`);
      await shot(name);
    });
  }

  test('comes back by itself when the agent does', async () => {
    await open();
    agent.hangUp();
    await brief('Connection lost');
    await brief('Ready');
  });

  test('refuses another key in words', async () => {
    await page.open(`${address}?key=other`);
    await brief('Refused');
    assert.match(await page.text('#card-title'), /no longer opens/);
  });

  for (const scheme of ['light', 'dark']) {
    test(`has a ${scheme} look`, async () => {
      await page.scheme(scheme);
      await watch();
      await page.evaluate(`document.querySelectorAll('.section').forEach((part) => { part.open = true; })`);
      await playOn();
      await shot(`watching-${scheme}`);
      const ground = await page.evaluate("getComputedStyle(document.querySelector('.bar')).backgroundColor");
      assert.equal(ground, scheme === 'light' ? 'rgb(255, 255, 255)' : 'rgb(25, 32, 42)');
    });
  }
});

describe('everybody can use', () => {
  const axe = readFileSync(new URL('../../build/npm/axe-core/axe.min.js', import.meta.url), 'utf8');

  /** What is wrong, each with where. */
  async function findings() {
    await page.evaluate(`${axe}; undefined`);
    return page.evaluate(`axe.run(document, { runOnly: ['wcag2a', 'wcag2aa', 'wcag21a', 'wcag21aa',
      'wcag22aa', 'best-practice'] }).then(({ violations }) => violations.flatMap(({ id, nodes }) =>
      nodes.map(({ target, any }) => id + ' ' + target + ' ' + any.map(({ message }) => message))))`);
  }

  const looks = {
    'what is shown before a session': open,
    'what is shown in a session': async () => {
      await watch(false);
      agent.text({ note: 'The connection is slow.' });
      await page.until("!document.querySelector('#toast').hidden");
      await page.evaluate("document.querySelectorAll('details').forEach((part) => { part.open = true; })");
    },
    'the card of a refusal': async () => {
      await open();
      agent.hangUp(4409);
      await brief('Refused');
    },
    'the window for a text': async () => {
      await watch();
      await page.click('#send-text');
    },
  };
  for (const [name, look] of Object.entries(looks)) {
    for (const scheme of ['light', 'dark']) {
      test(`${name}, ${scheme}`, async () => {
        await page.scheme(scheme);
        await look();
        assert.deepEqual(await findings(), []);
        await shot(`${name.replaceAll(' ', '-')}-${scheme}`);
      });
    }
  }
});
