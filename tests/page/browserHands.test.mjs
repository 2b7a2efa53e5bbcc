import assert from 'node:assert/strict';
import { describe } from 'node:test';
import { keys } from '../../agent/page/keys.js';
import {
  address, agent, brief, browser, ctrlAltShift, kept, open, page, test, watch,
} from './pageInBrowser.mjs';

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
    await browser.permit(address.slice(0, -1), ['clipboardReadWrite', 'clipboardSanitizedWrite']);
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

  test('point at nothing before there is a picture', async () => {
    await open();
    await page.click('#start');
    agent.control({ op: 'started', width: 640, height: 360, accessibility: true });
    await brief('Watching');
    await page.mouse('mouseMoved', 400, 300);
    await page.mouse('mouseMoved', 420, 300);
    await page.click('#keyframe');
    await agent.until(() => agent.ops().some(({ op }) => op === 'keyframe'));
    assert.deepEqual(agent.inputs(), []);
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
