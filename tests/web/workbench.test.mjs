// The EDID workbench (build/web/, from scripts/web.sh build) in the system's
// headless Chromium, checked against the command-line tool's own output.
//   EDC_TOOL   the edid-composer to compare with (default build/gcc/edid-composer)
import { test, before, after } from 'node:test';
import assert from 'node:assert/strict';
import { spawn, execFileSync, spawnSync } from 'node:child_process';
import { mkdtempSync, mkdirSync, readFileSync, writeFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { chromium } from 'playwright-core';

const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '../..');
const pageDir = path.join(root, 'build/web');
const shots = path.join(pageDir, 'screenshots');
const examples = path.join(root, 'examples');
const tool = process.env.EDC_TOOL ? path.resolve(process.env.EDC_TOOL) : path.join(root, 'build/gcc/edid-composer');
const scratch = mkdtempSync(path.join(tmpdir(), 'edc-web-test-'));

let server, browser, context, page;
const pageErrors = [];

// The tool, run in examples/ so that the file names it prints match the page's.
function runTool(args) {
  return spawnSync(tool, args, { cwd: examples, encoding: 'buffer' });
}

// python3's static server on a port the system picks; resolves to its address.
function startServer() {
  return new Promise((resolve, reject) => {
    server = spawn('python3', ['-u', '-m', 'http.server', '0', '--bind', '127.0.0.1', '--directory', pageDir],
      { stdio: ['ignore', 'pipe', 'pipe'] });
    const timer = setTimeout(() => reject(new Error('the static server did not start')), 10000);
    server.stdout.on('data', (data) => {
      const found = /port (\d+)/.exec(String(data));
      if (found) {
        clearTimeout(timer);
        resolve(`http://127.0.0.1:${found[1]}/`);
      }
    });
    server.on('exit', (code) => reject(new Error(`the static server exited with ${code}`)));
  });
}

async function screen(name) {
  await page.getByRole('button', { name: new RegExp(`^\\d\\. ${name}$`, 'i') }).click();
}

async function loadExample(name) {
  await screen('Television');
  await page.selectOption('#example-edid', name);
  await page.click('#load-example');
  await page.waitForFunction((n) => document.getElementById('television-message').textContent.startsWith(n + ':'), name);
}

async function composeWith(configName) {
  await screen('Compose');
  await page.selectOption('#example-config', configName);
  await page.click('#load-config');
  await page.waitForFunction((n) => window.edcWorkbench.state.configName === n, configName);
  await page.click('#compose-button');
}

async function downloaded(button) {
  const [download] = await Promise.all([page.waitForEvent('download'), page.click(button)]);
  const file = path.join(scratch, download.suggestedFilename());
  await download.saveAs(file);
  return readFileSync(file);
}

before(async () => {
  mkdirSync(shots, { recursive: true });
  const address = await startServer();
  browser = await chromium.launch({
    executablePath: '/usr/bin/chromium',
    headless: true,
    timeout: 30000,
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
      '--disable-component-update', '--disable-sync'],
  });
  context = await browser.newContext({ acceptDownloads: true, viewport: { width: 1280, height: 900 } });
  page = await context.newPage();
  page.setDefaultTimeout(15000);
  page.on('pageerror', (error) => pageErrors.push(String(error)));
  await page.goto(address);
  await page.waitForSelector('body[data-ready="true"]');
});

after(async () => {
  if (browser) await browser.close();
  if (server) server.kill();
  rmSync(scratch, { recursive: true, force: true });
});

test('the bundled television loads and its summary is the one dump --summary prints', { timeout: 60000 }, async () => {
  // By keyboard: the example list, then the button after it.
  await page.selectOption('#example-edid', 'sony-tv.bin');
  await page.focus('#example-edid');
  await page.keyboard.press('Tab');
  assert.equal(await page.evaluate(() => document.activeElement.id), 'load-example');
  await page.keyboard.press('Enter');
  await page.waitForFunction(() => document.getElementById('television-message').textContent.startsWith('sony-tv.bin:'));
  const expected = execFileSync(tool, ['dump', '--summary', 'sony-tv.bin'], { cwd: examples, encoding: 'latin1' });
  assert.equal(await page.textContent('#television-summary'), expected);
  assert.match(await page.textContent('#television-json'), /"monitor_name": "SONY TV"/);
  await page.screenshot({ path: path.join(shots, 'television.png'), fullPage: true });
});

test('composing with platform.toml gives the bytes of compose, in every form', { timeout: 60000 }, async () => {
  await loadExample('sony-tv.bin');
  await composeWith('platform.toml');
  await page.waitForSelector('#result-view:not([hidden])');
  const forms = [['#download-bin', 'bin'], ['#download-hex', 'hex'], ['#download-carray', 'carray']];
  for (const [button, format] of forms) {
    const out = path.join(scratch, 'tool.' + format);
    const run = runTool(['compose', '--config', 'platform.toml', '--sink', 'sony-tv.bin', '--format', format, '-o', out]);
    assert.equal(run.status, 0, String(run.stderr));
    assert.deepEqual(await downloaded(button), readFileSync(out), format);
  }
  assert.equal((await downloaded('#download-bin')).length, 256);
  // The comparison table marks what the composition changed.
  assert.ok(await page.locator('#compare tbody tr').count() > 10);
  assert.ok(await page.locator('#compare tr.differs, #compare tr.only_a, #compare tr.only_b').count() > 0);
  await page.screenshot({ path: path.join(shots, 'result.png'), fullPage: true });
  await page.screenshot({ path: path.join(shots, 'workbench.png') });
  await screen('Compose');
  await page.screenshot({ path: path.join(shots, 'compose.png'), fullPage: true });

  // Time to compose for the bundled television, in the page.
  const runs = 200;
  const times = await page.evaluate((n) => {
    const { call, state } = window.edcWorkbench;
    const tv = state.television.bytes;
    const config = document.getElementById('config-text').value;
    const times = [];
    for (let i = 0; i < n; ++i) {
      const start = performance.now();
      call('edc_web_compose', config, '1920x1080p60', '0', 'sink', '0,0,0,0', 'all', 0, tv, tv.length, 'tv', 'cfg');
      times.push(performance.now() - start);
    }
    return times.sort((a, b) => a - b);
  }, runs);
  console.log(`compose in the page (sony-tv.bin, platform.toml): median ${times[runs / 2].toFixed(2)} ms, ` +
    `fastest ${times[0].toFixed(2)} ms over ${runs} runs (parse, compose, dumps, JSON, comparison)`);
});

test('a broken configuration shows its line and column and composes nothing', { timeout: 60000 }, async () => {
  await loadExample('sony-tv.bin');
  await composeWith('platform.toml');
  await page.waitForSelector('#result-view:not([hidden])');
  const good = readFileSync(path.join(examples, 'platform.toml'), 'utf8');
  const lines = good.split('\n');
  lines.splice(20, 0, 'broken = = 1');
  const broken = lines.join('\n');
  const file = path.join(scratch, 'broken.toml');
  writeFileSync(file, broken);
  const run = runTool(['compose', '--config', file, '--sink', 'sony-tv.bin', '--format', 'hex']);
  assert.equal(run.status, 2);
  const [, line, column, what] = /:(\d+):(\d+): (.*)\n/.exec(String(run.stderr));
  assert.equal(line, '21');

  await screen('Compose');
  await page.fill('#config-text', broken);
  await page.click('#compose-button');
  await page.waitForFunction(() => document.getElementById('config-error').textContent !== '');
  const message = await page.textContent('#config-error');
  assert.ok(message.includes(`line ${line}, column ${column}: ${what}`), message);
  assert.equal(await page.isHidden('#result-view'), true);
  assert.equal(await page.evaluate(() => window.edcWorkbench.state.composed), null);
  await page.screenshot({ path: path.join(shots, 'config-error.png'), fullPage: true });
});

test('garbage and empty files give a clear message and the page goes on working', { timeout: 60000 }, async () => {
  await loadExample('sony-tv.bin');
  await screen('Television');
  const cases = [
    ['empty.bin', Buffer.alloc(0), 'empty.bin: the input is empty'],
    ['garbage.bin', Buffer.from(Array.from({ length: 300 }, (_, i) => (i * 37 + 11) & 0xff)),
      'garbage.bin: 300 bytes of EDID data, which is not a multiple of 128'],
    ['notes.txt', Buffer.from('hello, this is not an EDID\n'), 'notes.txt: line 1: "hello" is not hexadecimal EDID data'],
  ];
  for (const [name, buffer, expected] of cases) {
    await page.setInputFiles('#edid-file', { name, mimeType: 'application/octet-stream', buffer });
    await page.waitForFunction((n) => document.getElementById('television-message').textContent.startsWith(n), name);
    const message = await page.textContent('#television-message');
    assert.ok(message.startsWith(expected), message);
  }
  await page.screenshot({ path: path.join(shots, 'garbage.png'), fullPage: true });

  // 128 bytes of garbage reach the library, which says why it cannot decode them.
  const block = Buffer.from(Array.from({ length: 128 }, (_, i) => (i * 91 + 7) & 0xff));
  await page.setInputFiles('#edid-file', { name: 'block.bin', mimeType: 'application/octet-stream', buffer: block });
  await page.waitForFunction(() => document.getElementById('television-message').textContent.startsWith('block.bin'));
  assert.ok(await page.locator('#television-lines li.error').count() > 0);

  // And the page still works: the television pasted in each text form decodes as
  // the file does.
  const bytes = readFileSync(path.join(examples, 'sony-tv.bin'));
  const hex = bytes.toString('hex');
  const pasted = {
    'edid-decode report': spawnSync('edid-decode', ['sony-tv.bin'], { cwd: examples, encoding: 'latin1' }).stdout,
    'xxd -p': hex.match(/.{1,60}/g).join('\n') + '\n',
    'C array': 'const unsigned char edid[256] = {\n' +
      hex.match(/../g).map((byte) => '0x' + byte).join(', ') + '\n};\n',
  };
  const summary = execFileSync(tool, ['dump', '--summary', '--title', 'pasted text', 'sony-tv.bin'],
    { cwd: examples, encoding: 'latin1' });
  for (const [form, text] of Object.entries(pasted)) {
    await page.fill('#edid-text', '');
    await page.click('#forget-television');
    await page.fill('#edid-text', text);
    await page.click('#read-text');
    await page.waitForFunction(() => document.getElementById('television-message').textContent !== '');
    assert.equal(await page.textContent('#television-message'), 'pasted text: 256 bytes, decoded.', form);
    assert.equal(await page.textContent('#television-summary'), summary, form);
  }

  // A file dropped on the file field.
  const dropped = await page.evaluateHandle(async () => {
    const transfer = new DataTransfer();
    const contents = await (await fetch('examples/uhd-tv-4k.bin')).arrayBuffer();
    transfer.items.add(new File([contents], 'dropped-uhd.bin'));
    return transfer;
  });
  await page.dispatchEvent('#drop-zone', 'drop', { dataTransfer: dropped });
  await page.waitForFunction(() => document.getElementById('television-message').textContent.startsWith('dropped-uhd.bin'));
  assert.equal(await page.textContent('#television-message'), 'dropped-uhd.bin: 256 bytes, decoded.');
  await loadExample('sony-tv.bin');
  assert.match(await page.textContent('#television-summary'), /SONY TV/);
});

test('settings are read as compose reads its options, and a configuration alone composes', { timeout: 60000 }, async () => {
  await loadExample('sony-tv.bin');
  const refused = [['#mode', '1920x1080', '--mode'], ['#port', '15', '--port'], ['#latency', '0,0,0', '--latency'],
    ['#audio-mask', 'pcm,opus', '--audio-mask']];
  for (const [field, value, option] of refused) {
    await screen('Compose');
    const before = await page.inputValue(field);
    await page.fill(field, value);
    await page.click('#compose-button');
    const run = runTool(['compose', '--config', 'platform.toml', '--sink', 'sony-tv.bin', '--format', 'hex', option, value]);
    assert.equal(run.status, 2);
    const expected = String(run.stderr).replace(/^edid-composer: /, '').trimEnd();
    assert.equal(await page.textContent('#settings-error'), expected);
    assert.equal(await page.evaluate(() => window.edcWorkbench.state.composed), null);
    await page.fill(field, before);
  }

  await screen('Television');
  await page.click('#forget-television');
  await screen('Compose');
  await page.fill('#mode', '1280x720p50');
  await page.selectOption('#setting-3d', 'off');
  await page.fill('#latency', '10,20,30,40');
  await page.fill('#audio-mask', 'pcm,ac3');
  await composeWith('platform-minimal.toml');
  await page.waitForSelector('#result-view:not([hidden])');
  const out = path.join(scratch, 'alone.bin');
  const run = runTool(['compose', '--config', 'platform-minimal.toml', '--mode', '1280x720p50', '--3d', 'off',
    '--latency', '10,20,30,40', '--audio-mask', 'pcm,ac3', '-o', out]);
  assert.equal(run.status, 0, String(run.stderr));
  assert.deepEqual(await downloaded('#download-bin'), readFileSync(out));
  assert.equal(await page.isHidden('#compare-section'), true);
  // The minimal configuration leaves keys out: the library's warnings are listed as such.
  assert.ok(await page.locator('#result-lines li.warning').count() > 0);
  assert.ok(await page.locator('#result-lines li.error').count() > 0);
  await screen('Compose');
  await page.fill('#mode', '1920x1080p60');
  await page.selectOption('#setting-3d', 'sink');
  await page.fill('#latency', '0,0,0,0');
  await page.fill('#audio-mask', 'all');
});

test('once loaded, the page works offline', { timeout: 60000 }, async () => {
  await page.evaluate(() => navigator.serviceWorker.ready);
  await page.reload();  // under the service worker's control from here
  await page.waitForSelector('body[data-ready="true"]');
  await context.setOffline(true);
  try {
    await page.reload();
    await page.waitForSelector('body[data-ready="true"]');
    await loadExample('uhd-tv-4k.bin');
    await composeWith('platform-minimal.toml');
    await page.waitForSelector('#result-view:not([hidden])');
  } finally {
    await context.setOffline(false);
  }
  assert.deepEqual(pageErrors, []);
});
