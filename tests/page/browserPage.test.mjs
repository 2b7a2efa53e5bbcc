import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { describe } from 'node:test';
import {
  address, agent, alikeEnough, brief, canvasPixels, open, page,
  playOn, shot, stream, test, units, watch,
} from './pageInBrowser.mjs';
import { pictures, psnr, size } from './stream.mjs';

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

  test('that comes back after faults without end has its words back', async () => {
    await watch();
    const broken = Buffer.from(units[0]);
    broken[5] = 0xff;  // a profile that nobody has
    for (let i = 1; i <= 5; ++i) {
      agent.video(broken);
      await page.until(`Number(document.querySelector('#figure-dropped').textContent) >= ${i}`);
    }
    await brief('No picture');
    agent.video(units[0]);
    await page.until("!document.querySelector('#canvas').hidden");
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
    await watch();
    const before = agent.ops().length;
    await page.reload();
    await brief('Ready');
    agent.control({ op: 'started', ...size, accessibility: true });
    agent.video(units[0]);
    await page.until("!document.querySelector('#field').disabled");
    assert.deepEqual(agent.ops().slice(before),
      [{ op: 'input', allowed: false }, { op: 'input', allowed: true }]);
  });

  test('allows nothing in a session that it has not begun', async () => {
    await open();
    agent.video(units[0]);
    await brief('Watching');
    await agent.until(() => agent.ops().length >= 1);
    assert.deepEqual(agent.ops(), [{ op: 'input', allowed: false }]);
    assert.equal(await page.evaluate("document.querySelector('#input').checked"), false);
    await page.click('#input');
    await agent.until(() => agent.ops().length >= 2);
    assert.deepEqual(agent.ops()[1], { op: 'input', allowed: true });
  });

  test('works where the browser remembers nothing', async () => {
    await page.ask('Page.addScriptToEvaluateOnNewDocument', { source:
      "Object.defineProperty(window, 'sessionStorage', { get() { throw new Error('no'); } })" });
    await watch();
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

  test('has room for a word of any length', async () => {
    await open();
    agent.control({ op: 'fault', message: '/a/path/without/end'.repeat(50) });
    await brief('Stopped by a fault');
    const [button, card] = await page.evaluate(`['#card-action', '#card'].map((name) =>
      document.querySelector(name).getBoundingClientRect().right)`);
    assert.ok(button < card, `${button} beyond ${card}`);
  });

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
