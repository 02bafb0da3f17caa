// The EDID workbench: loads the television's EDID, composes the device's
// through the WebAssembly module (edc_web.js), compares and saves. Everything
// stays in this tab's memory.
'use strict';

const $ = (id) => document.getElementById(id);

const state = {
  module: null,
  errors: [],      // standard error lines of the current call
  stray: [],       // standard output outside any capture (none expected)
  television: null, // {name, bytes: Uint8Array, description}
  composed: null,  // the compose call's document
  configName: '',
};

// ---------------------------------------------------------------------------
// The module's two entry points, with arguments copied into its memory.

function withArguments(args, fn) {
  const m = state.module;
  const pointers = args.map((arg) => {
    if (typeof arg === 'number') return null;
    if (arg instanceof Uint8Array) {
      const p = m._malloc(Math.max(arg.length, 1));
      m.HEAPU8.set(arg, p);
      return p;
    }
    const size = m.lengthBytesUTF8(arg) + 1;
    const p = m._malloc(size);
    m.stringToUTF8(arg, p, size);
    return p;
  });
  try {
    return fn(args.map((arg, i) => (pointers[i] === null ? arg : pointers[i])));
  } finally {
    pointers.forEach((p) => p !== null && m._free(p));
  }
}

function call(name, ...args) {
  state.errors = [];
  const m = state.module;
  const text = withArguments(args, (values) => m.UTF8ToString(m['_' + name](...values)));
  return JSON.parse(text);
}

function readEdid(contents, name) {
  return call('edc_web_read', contents, contents.length, name);
}

// ---------------------------------------------------------------------------
// Showing things.

function setStatus(text) {
  $('status').textContent = text;
}

function showScreen(name) {
  for (const tab of document.querySelectorAll('.screen-tab')) {
    const active = tab.dataset.screen === name;
    tab.setAttribute('aria-pressed', String(active));
  }
  for (const screen of document.querySelectorAll('.screen')) screen.hidden = screen.id !== name;
}

// The library's lines, each marked as error, warning or note.
function showLines(list, text) {
  list.replaceChildren();
  const lines = text.split('\n').filter((line) => line !== '');
  if (lines.length === 0) {
    const item = document.createElement('li');
    item.className = 'none';
    item.textContent = 'none';
    list.append(item);
    return;
  }
  for (const line of lines) {
    const item = document.createElement('li');
    const kind = /\(\) (ERROR|BUG): /.test(line) ? 'error' : /\(\) WARNING: /.test(line) ? 'warning' : 'note';
    item.className = kind;
    item.textContent = (kind === 'note' ? '' : kind === 'error' ? 'Error: ' : 'Warning: ') + line;
    list.append(item);
  }
}

// The texts of a decoded EDID. The result screen's list holds the lines of
// composing instead; those of decoding the result lead its summary.
function showDescription(prefix, description) {
  if (prefix === 'television') showLines($('television-lines'), description.lines);
  $(prefix + '-summary').textContent = description.summary;
  $(prefix + '-full').textContent = description.full;
  $(prefix + '-json').textContent = description.json || '(not decoded)';
}

// ---------------------------------------------------------------------------
// The television.

function loadTelevision(contents, name) {
  const message = $('television-message');
  let description;
  try {
    description = readEdid(contents, name);
  } catch (error) {
    description = { error: 'the library failed: ' + error };
  }
  if (description.error) {
    message.textContent = `${name}: ${description.error}. The previous EDID stays loaded.`;
    message.className = 'message error';
    setStatus(`Could not read ${name}.`);
    return;
  }
  state.television = { name, bytes: Uint8Array.from(description.bytes), description };
  message.textContent = description.decoded
    ? `${name}: ${description.bytes.length} bytes, decoded.`
    : `${name}: ${description.bytes.length} bytes; the library could not decode it (see its lines).`;
  message.className = description.decoded ? 'message ok' : 'message error';
  showDescription('television', description);
  $('television-view').hidden = false;
  $('compose-source').textContent = `Television: ${name}`;
  $('forget-television').hidden = false;
  setStatus(`Loaded ${name}.`);
}

async function loadFile(file) {
  const contents = new Uint8Array(await file.arrayBuffer());
  loadTelevision(contents, file.name);
}

async function fetchBytes(path) {
  const response = await fetch(path);
  if (!response.ok) throw new Error(`${path}: ${response.status}`);
  return new Uint8Array(await response.arrayBuffer());
}

// ---------------------------------------------------------------------------
// Composing.

// "<string>:12:5: what" from the configuration store.
function showConfigError(lines) {
  const found = lines.map((line) => /^<string>:(\d+):(\d+): (.*)$/.exec(line)).find(Boolean);
  const box = $('config-error');
  if (!found) {
    box.textContent = lines.join('\n') || 'The configuration was refused.';
    return;
  }
  const [, line, column, what] = found;
  box.textContent = `${state.configName}: line ${line}, column ${column}: ${what}`;
  // Put the caret where the store stopped.
  const editor = $('config-text');
  const starts = editor.value.split('\n').slice(0, Number(line) - 1);
  const offset = starts.reduce((sum, text) => sum + text.length + 1, 0) + Math.max(Number(column) - 1, 0);
  editor.focus();
  editor.setSelectionRange(offset, offset);
}

function clearResult() {
  state.composed = null;
  $('result-view').hidden = true;
  $('result-empty').hidden = false;
}

function compose() {
  $('config-error').textContent = '';
  $('settings-error').textContent = '';
  const tv = state.television;
  const sink = tv ? tv.bytes : new Uint8Array(0);
  const started = performance.now();
  const document_ = call('edc_web_compose', $('config-text').value, $('mode').value.trim(),
    $('port').value.trim(), $('setting-3d').value, $('latency').value.trim(),
    $('audio-mask').value.trim(), $('sink-filter').checked ? 1 : 0, sink, sink.length,
    tv ? tv.name : '', state.configName);
  const elapsed = performance.now() - started;
  if (document_.option) {
    clearResult();
    $('settings-error').textContent = `${document_.option}: ${document_.problem}`;
    setStatus('Nothing composed: a setting cannot be used.');
    return null;
  }
  if (document_.config_error) {
    clearResult();
    showConfigError(state.errors);
    setStatus('Nothing composed: the configuration has an error.');
    return null;
  }
  if (!document_.ok) {
    clearResult();
    $('settings-error').textContent = 'The library refused to compose:\n' + document_.lines;
    setStatus('Nothing composed: the library refused (its lines say why).');
    return null;
  }
  state.composed = document_;
  showResult(document_);
  setStatus(`Composed in ${elapsed.toFixed(1)} ms.`);
  showScreen('result');
  $('download-bin').focus();
  return document_;
}

function showResult(result) {
  $('result-empty').hidden = true;
  $('result-view').hidden = false;
  showLines($('result-lines'), result.lines);
  showDescription('result', result.result);
  $('result-hex').textContent = result.hex;
  const body = $('compare').tBodies[0];
  body.replaceChildren();
  const marks = { same: ' ', differs: '*', only_a: '<', only_b: '>' };
  for (const row of result.rows || []) {
    const tr = document.createElement('tr');
    tr.className = row.status;
    for (const text of [marks[row.status], row.capability, row.a ?? 'absent', row.b ?? 'absent']) {
      const td = document.createElement('td');
      td.textContent = text;
      tr.append(td);
    }
    tr.cells[0].className = 'mark';
    tr.cells[0].title = row.status.replace('_a', ' in the television').replace('_b', ' in the result');
    body.append(tr);
  }
  $('compare-section').hidden = !result.rows;
}

// ---------------------------------------------------------------------------
// Saving.

function download(contents, name, type) {
  const url = URL.createObjectURL(new Blob([contents], { type }));
  const link = document.createElement('a');
  link.href = url;
  link.download = name;
  document.body.append(link);
  link.click();
  link.remove();
  setTimeout(() => URL.revokeObjectURL(url), 1000);
  setStatus(`Saved ${name}.`);
}

async function copy(text, what) {
  try {
    await navigator.clipboard.writeText(text);
    setStatus(`Copied the ${what} to the clipboard.`);
  } catch (error) {
    setStatus(`Could not copy to the clipboard: ${error.message}`);
  }
}

// ---------------------------------------------------------------------------
// Start.

function fillSelect(select, names, preferred) {
  for (const name of names) select.append(new Option(name, name, false, name === preferred));
}

async function loadConfigExample() {
  const name = $('example-config').value;
  const bytes = await fetchBytes('examples/' + name);
  $('config-text').value = new TextDecoder().decode(bytes);
  $('config-error').textContent = '';
  state.configName = name;
}

function wire() {
  for (const tab of document.querySelectorAll('.screen-tab'))
    tab.addEventListener('click', () => showScreen(tab.dataset.screen));
  $('load-example').addEventListener('click', async () => {
    const name = $('example-edid').value;
    loadTelevision(await fetchBytes('examples/' + name), name);
  });
  $('edid-file').addEventListener('change', (event) => {
    const [file] = event.target.files;
    if (file) loadFile(file);
    event.target.value = '';
  });
  const zone = $('drop-zone');
  zone.addEventListener('dragover', (event) => {
    event.preventDefault();
    zone.classList.add('over');
  });
  zone.addEventListener('dragleave', () => zone.classList.remove('over'));
  zone.addEventListener('drop', (event) => {
    event.preventDefault();
    zone.classList.remove('over');
    const [file] = event.dataTransfer.files;
    if (file) loadFile(file);
  });
  $('forget-television').addEventListener('click', () => {
    state.television = null;
    $('television-view').hidden = true;
    $('forget-television').hidden = true;
    $('television-message').textContent = '';
    $('compose-source').textContent = 'No television loaded: composing uses the configuration alone.';
    setStatus('No television loaded.');
  });
  $('read-text').addEventListener('click', () =>
    loadTelevision(new TextEncoder().encode($('edid-text').value), 'pasted text'));
  $('load-config').addEventListener('click', loadConfigExample);
  $('config-text').addEventListener('input', () => {
    if (!state.configName.endsWith(' (edited)')) state.configName += ' (edited)';
  });
  $('compose-button').addEventListener('click', compose);
  const saved = () => state.composed;
  $('download-bin').addEventListener('click', () =>
    download(Uint8Array.from(saved().result.bytes), 'composed-edid.bin', 'application/octet-stream'));
  $('download-hex').addEventListener('click', () => download(saved().hex, 'composed-edid.hex', 'text/plain'));
  $('download-carray').addEventListener('click', () => download(saved().carray, 'composed-edid.c', 'text/x-c'));
  $('copy-hex').addEventListener('click', () => copy(saved().hex, 'hex'));
  $('copy-carray').addEventListener('click', () => copy(saved().carray, 'C array'));
}

async function start() {
  wire();
  state.module = await createEdcModule({
    edcCaptures: [],
    print: (line) => {
      const captures = state.module ? state.module.edcCaptures : [];
      if (captures.length > 0) captures[captures.length - 1] += line + '\n';
      else state.stray.push(line);
    },
    printErr: (line) => state.errors.push(line),
  });
  const examples = await (await fetch('examples/index.json')).json();
  fillSelect($('example-edid'), examples.edid, 'sony-tv.bin');
  fillSelect($('example-config'), examples.config, 'platform.toml');
  await loadConfigExample();
  if ('serviceWorker' in navigator) navigator.serviceWorker.register('sw.js').catch(() => {});
  document.body.dataset.ready = 'true';
  setStatus('Ready. Load a television\'s EDID, or compose from the configuration alone.');
}

// Kept for the browser tests and the console.
window.edcWorkbench = { state, call };
start().catch((error) => setStatus('The library did not load: ' + error));
