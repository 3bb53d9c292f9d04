// The model workbench page. It asks window.orvx (the library compiled to
// WebAssembly) for every answer and only lays them out. In edit mode it hands
// each edit to the library, which checks it, and shows what follows from it.
const orvx = globalThis.orvx;
const $ = (id) => document.getElementById(id);

// How to fix each lint finding, as the tool's documentation says.
const FIXES = {
  "duplicate-name": "Remove one of the records, or rename it.",
  "empty-name": "Give the record a name.",
  "shadowed-name": "Put the record with the longer name first.",
  "case-variant": "Use one spelling.",
  "space-variant": "Use one spelling.",
  "no-picture-rule": "Fix VenderID / ModelGroupID.",
  "size-list-malformed": "Make byte 0 the block's length and each entry's length byte right.",
  "size-list-duplicate": "Merge the two lists.",
  "size-list-unreachable": "Put the named entries first.",
  "unknown-flags": "Clear the bits outside the thirteen flags.",
  "trailing-bytes": "Check the record count.",
  "negative-count": "Write the real record count.",
};
// Real names of trays and units, offered where a row of the model's rule takes
// them; a prefix without an example here is offered as what it is, the start
// of a name to type.
const EXAMPLES = {
  inTrays: ["Multi Purpose Tray", "MP Tray", "Internal Tray", "Manual Feed", "Default Tray", "BC Tray",
    "Envelope Feeder", "Bypass Tray", "Bulk Feeder", "Cassette 1", "Cassette 2", "Cassette 3", "Cassette 4", "Tray 1",
    "Tray 2", "Large Capacity Feeder", "Feeder", "Drawer 1", "Side Deck", "3000 Sheet Feeder"],
  outTrays: ["Face Up Tray", "Face Down Tray", "Face-up Tray", "Face-down Tray", "Rear Tray", "Top Tray", "Sub Tray",
    "Left Tray", "Inner Tray", "Multi Tray", "Job Separator", "Mailbox", "5bin Mailbox", "9bin Sorter", "Stacker",
    "Finisher Tray 1", "Finisher Tray 2", "Finisher Tray A", "Finisher Tray B", "Document Finisher", "Booklet Tray"],
  options: [],
  docOptions: ["Document Feeder"],
};
const LISTS = [
  ["inTrays", "in-tray"],
  ["outTrays", "out-tray"],
  ["options", "option"],
  ["docOptions", "doc-option"],
];
// The host strings the rules read, by the names the module gives their numbers.
const HOST_STRINGS = ["manualTray", "defaultTray"];

const state = {
  db: null,  // the open database (window.workbench.db, for tests and the console)
  name: "",
  rows: [],
  shown: [],
  sort: { key: "index", dir: 1 },
  renders: 0,
  selected: null,  // the selected record, whole
  config: emptyConfig(),
};

// `row(k)`: the catalogue's row at position k of the rows shown, scrolled to and drawn.
globalThis.workbench = { get db() { return state.db; }, row: (k) => focusRow(k) };

function emptyConfig() {
  return { entry: "GetPictureIDEx", inTrays: [], outTrays: [], options: [], docOptions: [], duplexUnit: 0, outputUnit: 0, strings: {} };
}

const esc = (s) => String(s).replace(/[&<>"']/g, (c) => ({ "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;", "'": "&#39;" })[c]);
const hex = (n, width = 8) => "0x" + (n >>> 0).toString(16).toUpperCase().padStart(width, "0");
const ruleText = (r) => (typeof r === "string" ? r : `none (fixed ${hex(r.fixed, 1)})`);
// A rule's name may break after its underscore, never inside a word.
const ruleHtml = (r) => esc(ruleText(r)).replace(/_/g, "_<wbr>");

function status(text, isError = false) {
  $("status").textContent = text;
  $("status").classList.toggle("error", isError);
}

// ---- opening ------------------------------------------------------------------------------------

function openBytes(bytes, name, file = name) {
  let db;
  const started = performance.now();
  try {
    db = orvx.open(bytes);
  } catch (e) {
    status(`${name}: ${e.message}${e.offset ? ` (at byte ${e.offset})` : ""}`, true);
    return;
  }
  if (state.db) state.db.close();
  state.db = db;
  state.name = name;
  state.dbFile = db.form === "dat" ? file : null;  // what an eval line's "db" names
  performance.mark("orvx-open");
  state.rows = db.records();
  state.findings = db.lint();
  performance.mark("orvx-records");
  state.selected = null;
  offerKept(bytes instanceof Uint8Array ? bytes : new Uint8Array(bytes), name);
  fillFilters();
  $("main").hidden = false;  // shown first: the catalogue draws the rows its box has room for
  renderCatalogue();
  renderLint();
  renderChanges();
  renderEditBar();
  status(`${summary()} Opened in ${Math.round(performance.now() - started)} ms.`);
  if (state.rows.length) selectRecord(0);
  else $("model-view").innerHTML = '<p class="muted">The database has no records.</p>';
  globalThis.orvxShownAt = performance.now();  // for bench/web_timing.py
  document.dispatchEvent(new CustomEvent("orvx-opened", { detail: { name, count: db.count } }));
}

function summary() {
  const db = state.db, problems = state.findings.length, edits = db.edits().length;
  return `${state.name}: ${db.count} models (${db.form === "json" ? "JSON form" : "database file"}${edits ? ", edited" : ""}), ` +
    `${problems} lint finding${problems === 1 ? "" : "s"}.`;
}

function embedded(id) {
  const el = document.getElementById(id);
  if (!el) return null;
  const text = atob(el.textContent.trim());
  const bytes = new Uint8Array(text.length);
  for (let i = 0; i < text.length; i++) bytes[i] = text.charCodeAt(i);
  return { bytes, name: el.dataset.name || "database" };
}

async function openSample() {
  const inline = embedded("orvx-sample");
  if (inline) return openBytes(inline.bytes, inline.name);
  try {
    const response = await fetch("sample.json");
    if (!response.ok) throw new Error(response.statusText);
    openBytes(new Uint8Array(await response.arrayBuffer()), "sample (models.json)", "models.json");
  } catch (e) {
    status(`The sample could not be read: ${e.message}`, true);
  }
}

async function openFile(file) {
  if (!file) return;
  openBytes(new Uint8Array(await file.arrayBuffer()), file.name);
}

// ---- catalogue ----------------------------------------------------------------------------------

function fillFilters() {
  const fill = (id, values, label) => {
    const select = $(id), chosen = select.value;
    select.length = 1;
    for (const v of values) select.add(new Option(label(v), v));
    select.value = chosen;
    if (select.value !== chosen) select.value = "";
  };
  const unique = (key) => [...new Set(state.rows.map((r) => r[key]))].sort((a, b) => a - b);
  fill("vendor-filter", unique("vendor"), (v) => `${v}`);
  fill("group-filter", unique("group"), (v) => `${v}`);
  fill("flag-filter", orvx.flags.map((f) => f.name), (v) => v);
}

const SORT_KEYS = {
  index: (r) => r.index,
  name: (r) => r.name.toLowerCase(),
  vendor: (r) => r.vendor * 65536 + r.group,
  group: (r) => r.group * 65536 + r.vendor,
  classic: (r) => ruleText(r.rules.GetPictureID),
  extended: (r) => ruleText(r.rules.GetPictureIDEx),
  flags: (r) => r.flags,
  lint: (r) => r.lint,
};

// The catalogue draws only the rows in its scroll box and a margin around
// them: a spacer row above and one below stand for the others, at the heights
// rows of the same content had when drawn at this width (a guess, the mean,
// until one was). Laying out 10,000 rows after each edit would cost a second.
const list = {
  heights: new Map(),          // a row's content (rowKey) → its height in px at list.width
  keys: new WeakMap(),         // a row → its rowKey, made once per row object
  guess: 30,                   // px, for rows of a content not drawn yet
  width: 0,
  tops: new Float64Array(1),   // tops[k]: where shown row k starts below the header; tops[n]: all of them
  first: 0, end: 0,            // the shown rows drawn: [first, end)
  sizers: "",                  // the sizer rows drawn
  measuring: false,            // a measurement is due at the next frame
  view: { top: 0, height: 0, head: 0 },  // the box as last read: rows' coordinate at its top, its height, the header above the rows
};
const MARGIN = 400;  // px drawn beyond each edge of the box

function rowKey(r) {
  let key = list.keys.get(r);
  if (key === undefined) {
    // Wide, a name is one line (the columns' widths are the sizers'): rows differing only there are as tall.
    key = [list.view.head ? r.name : "", r.flags, r.lint, ruleText(r.rules.GetPictureID), ruleText(r.rules.GetPictureIDEx)].join("\n");
    list.keys.set(r, key);
  }
  return key;
}

// `first`: the position in state.shown of rows[0]; null for sizer rows.
function catalogueRows(rows, first) {
  const selected = state.selected ? state.selected.index : -1;
  return rows.map((r, k) => (first === null ? '<tr class="sizer" aria-hidden="true">'
    : `<tr tabindex="0" data-index="${r.index}" data-pos="${first + k}" aria-rowindex="${first + k + 2}"${r.index === selected ? ' aria-selected="true"' : ""}>`) +
    `<td>${r.index}</td><td>${r.name ? esc(r.name) : '<span class="muted">(empty name)</span>'}</td><td>${r.vendor}</td><td>${r.group}</td>` +
    `<td>${ruleHtml(r.rules.GetPictureID)}</td><td>${ruleHtml(r.rules.GetPictureIDEx)}</td>` +
    `<td>${r.flagNames.map((f) => `<span class="badge">${f}</span>`).join("")}` +
    `${r.flags & ~0x1fff ? `<span class="badge bad" title="bits outside the thirteen flags">${hex(r.flags & ~0x1fff, 1)}</span>` : ""}</td>` +
    `<td>${r.lint ? `<span class="lint-mark" title="${r.lint} lint finding${r.lint > 1 ? "s" : ""}">⚠ ${r.lint}</span>` : ""}</td></tr>`).join("");
}

// Rows of the widest content of each column, laid out but collapsed, so the
// columns are as wide as the whole catalogue needs whichever rows are drawn.
function sizerRows() {
  const best = [], most = [];
  for (const r of state.rows) {
    const sizes = [r.name.length, ruleText(r.rules.GetPictureID).length, ruleText(r.rules.GetPictureIDEx).length,
      r.flagNames.length, r.index, r.vendor, r.group];
    sizes.forEach((v, c) => { if (!(v <= most[c])) most[c] = v, best[c] = r; });
  }
  return catalogueRows([...new Set(best)], null);
}

// After a change of the rows shown (a filter, a sort, an edit), scrolled to
// the top when `top`.
function renderCatalogue(top = true) {
  const text = $("search").value.toLowerCase();
  const vendor = $("vendor-filter").value, group = $("group-filter").value, flag = $("flag-filter").value;
  const lintOnly = $("lint-filter").checked;
  const key = SORT_KEYS[state.sort.key];
  state.shown = state.rows.filter((r) =>
    // Names in the text as well as the text in names: the host's lookup reads it the first way.
    (!text || r.name.toLowerCase().includes(text) || (r.name && text.includes(r.name.toLowerCase()))) && (vendor === "" || r.vendor === +vendor) &&
    (group === "" || r.group === +group) && (flag === "" || r.flagNames.includes(flag)) && (!lintOnly || r.lint > 0));
  state.shown.sort((a, b) => {
    const x = key(a), y = key(b);
    return (x < y ? -1 : x > y ? 1 : a.index - b.index) * state.sort.dir;
  });
  if (list.heights.size > 2 * state.rows.length + 1000) list.heights.clear();  // kept to the contents seen lately
  layoutRows();
  const body = $("catalogue-table").tBodies[0], sizers = sizerRows();
  if (sizers !== list.sizers || !body.rows.length) {
    body.innerHTML = `<tr class="spacer" aria-hidden="true"><td colspan="8"></td></tr><tr class="spacer" aria-hidden="true"><td colspan="8"></td></tr>${sizers}`;
    list.sizers = sizers;
  }
  list.first = list.end = 0;
  if (top) $("catalogue-wrap").scrollTop = 0, list.view.top = -list.view.head;
  drawRows();
  $("catalogue-table").setAttribute("aria-rowcount", state.shown.length + 1);
  $("row-count").textContent = `${state.shown.length} of ${state.rows.length} models shown`;
  for (const th of document.querySelectorAll("#catalogue-table th"))
    th.setAttribute("aria-sort", th.dataset.key === state.sort.key ? (state.sort.dir > 0 ? "ascending" : "descending") : "none");
  renderLookup();
}

function layoutRows() {
  const shown = state.shown, tops = new Float64Array(shown.length + 1);
  for (let k = 0; k < shown.length; k++) tops[k + 1] = tops[k] + (list.heights.get(rowKey(shown[k])) ?? list.guess);
  list.tops = tops;
}

// The first shown row that ends below `y` (px below the header).
function rowAt(y) {
  let lo = 0, hi = state.shown.length;
  while (lo < hi) {
    const mid = (lo + hi) >> 1;
    if (list.tops[mid + 1] > y) hi = mid;
    else lo = mid + 1;
  }
  return lo;
}

// Reads the box (which lays the page out): after a scroll, a resize, a measurement. The
// header stays on top of the rows while wide; on a phone it scrolls away above them.
function readView(wrap) {
  const head = $("catalogue-table").tHead;
  list.view.head = getComputedStyle(head.rows[0].cells[0]).position === "sticky" ? 0 : head.offsetHeight;
  list.view.top = wrap.scrollTop - list.view.head;
  list.view.height = wrap.clientHeight - (head.offsetHeight - list.view.head);
  return list.view.top;
}

// Draws the rows the box shows with their margin; on a scroll (`scrolled`),
// only when the rows drawn no longer cover the box and half the margin.
function drawRows(scrolled = false) {
  const wrap = $("catalogue-wrap"), body = $("catalogue-table").tBodies[0], n = state.shown.length;
  const y = list.view.top, h = list.view.height || 800;
  if (scrolled && list.first < list.end && (list.first === 0 || list.tops[list.first] <= y - MARGIN / 2) &&
      (list.end === n || list.tops[list.end] >= y + h + MARGIN / 2)) return;
  const first = rowAt(y - MARGIN), end = Math.min(n, rowAt(y + h + MARGIN) + 1);
  const focused = document.activeElement?.closest?.("#catalogue-table tr[data-pos]")?.dataset.pos;
  const [above, below] = body.querySelectorAll("tr.spacer");
  while (above.nextElementSibling !== below) above.nextElementSibling.remove();
  above.insertAdjacentHTML("afterend", catalogueRows(state.shown.slice(first, end), first));
  list.first = first;
  list.end = end;
  above.style.height = `${list.tops[first]}px`;
  below.style.height = `${list.tops[n] - list.tops[end]}px`;
  // Measured when the frame is laid out anyway, after whatever else the same task changes.
  if (!list.measuring) {
    list.measuring = true;
    requestAnimationFrame(() => {
      list.measuring = false;
      const [top, bottom] = body.querySelectorAll("tr.spacer");
      if (top) measureRows(wrap, top, bottom);
    });
  }
  const again = focused !== undefined && body.querySelector(`tr[data-pos="${focused}"]`);
  if (again) again.focus({ preventScroll: true });
}

// Heights of the rows drawn, for every row of the same content; the row at
// the box's top stays where it is when the guesses above it change.
function measureRows(wrap, above, below) {
  if (!wrap.clientHeight) return;  // not shown: nothing to measure
  let changed = wrap.clientWidth !== list.width;
  if (changed) list.heights.clear(), list.keys = new WeakMap(), list.width = wrap.clientWidth;
  for (let tr = above.nextElementSibling, k = list.first; tr !== below; tr = tr.nextElementSibling, k++) {
    const key = rowKey(state.shown[k]), h = tr.getBoundingClientRect().height;
    if (list.heights.get(key) !== h) list.heights.set(key, h), changed = true;
  }
  if (changed || !list.heights.size) {
    let sum = 0;
    for (const h of list.heights.values()) sum += h;
    if (list.heights.size) list.guess = sum / list.heights.size;
    const y = readView(wrap), anchor = rowAt(y), old = list.tops[anchor];
    layoutRows();
    const shift = list.tops[anchor] - old;
    if (shift) wrap.scrollTop += shift, readView(wrap);
  }
  above.style.height = `${list.tops[list.first]}px`;
  below.style.height = `${list.tops[state.shown.length] - list.tops[list.end]}px`;
  if (changed) drawRows(true);  // rows shorter than guessed may leave the box's edge bare
}

// Shows the row at position `k` of the shown rows whole in the box, and gives it the focus.
function focusRow(k) {
  const wrap = $("catalogue-wrap"), y = readView(wrap), { head, height } = list.view;
  if (list.tops[k] < y) wrap.scrollTop = list.tops[k] + head;
  else if (list.tops[k + 1] > y + height) wrap.scrollTop = list.tops[k + 1] - height + head;
  readView(wrap);
  drawRows(true);
  const tr = $("catalogue-table").tBodies[0].querySelector(`tr[data-pos="${k}"]`);
  if (tr) tr.focus({ preventScroll: true });
  return tr;
}

function renderLookup() {
  const text = $("search").value;
  const out = $("lookup-result");
  if (!text || !state.db) {
    out.textContent = "Type a name: the host's lookup answer shows here.";
    return;
  }
  const found = state.db.lookup(text);
  if (found.index === null) {
    out.textContent = "The host's lookup finds nothing: the database is empty.";
    return;
  }
  const how = { exact: "exact match", hp: 'match after the "hp" fix', substring: "the query contains this name", default: "no match: the default record" }[found.match];
  out.innerHTML = `The host's lookup of “${esc(text)}” gives <button type="button" class="link" data-index="${found.index}">` +
    `record ${found.index}, “${esc(found.modelName)}”</button> <span class="match match-${found.match}">${how}</span>`;
}

// ---- model view ---------------------------------------------------------------------------------

// Shows record `index`; the picture calculator starts empty unless `keepConfig`.
function selectRecord(index, keepConfig = false) {
  state.selected = state.db.record(index);
  for (const tr of document.querySelectorAll("#catalogue-table tbody tr[aria-selected]")) tr.removeAttribute("aria-selected");
  const row = document.querySelector(`#catalogue-table tbody tr[data-index="${index}"]`);
  if (row) row.setAttribute("aria-selected", "true");
  renderModel();
  if (!keepConfig) state.config = { ...emptyConfig(), entry: state.config.entry, strings: state.config.strings };
  renderPictureForm();
}

function renderModel() {
  const r = state.selected;
  const f = r.fields;
  const editing = edit.on;
  // A re-render after an edit keeps the keyboard where it was.
  const focused = document.activeElement?.closest?.("#model-view [data-focus]")?.dataset.focus;
  const plain = Object.entries(f).filter(([k]) => !k.startsWith("Info") && k !== "FlagNames" && k !== "InTraySPSZSizeList");
  // Each field's meaning is the module's (the lines `orvdb show` prints). The one most
  // information fields share heads their table; a row shows only a meaning of its own.
  const note = (k) => (orvx.fieldNotes[k] ? `<span class="note">${esc(orvx.fieldNotes[k])}</span>` : "");
  const ownNote = (k) => (orvx.fieldNotes[k] === orvx.hostValueNote ? "" : note(k));
  const input = (key, value, focus, label) =>
    `<input type="text" class="edit" data-key="${key}" data-focus="${focus}" value="${esc(value)}" aria-label="${esc(label)}" spellcheck="false">`;
  const info = r.info.map((i) => i.setOnly
    ? `<tr class="muted"><td>${hex(i.key, 4)}</td><td>${i.field}${ownNote(i.field)}</td><td colspan="2">sets ${i.field} only</td></tr>`
    : `<tr${i.stored !== i.getInfo ? ' class="differs"' : ""}><td>${hex(i.key, 4)}</td><td>${i.field}${ownNote(i.field)}</td>` +
      `<td>${editing ? input(i.field, i.stored, `info-${i.key}`, `${i.field} (key ${hex(i.key, 4)})`) : i.stored}</td>` +
      `<td>${i.getInfo}${i.stored !== i.getInfo ? " ≠ stored" : ""}</td></tr>`).join("");
  const findings = r.findings.length
    ? `<ul class="findings">${r.findings.map((x) => `<li><code>${x.code}</code> ${esc(x.message)}<br><span class="fix">Fix: ${FIXES[x.code] || ""}</span></li>`).join("")}</ul>`
    : '<p class="muted">No lint findings.</p>';
  const value = (k, v) => (Array.isArray(v) ? v.join(" ") : v);
  const fields = plain.map(([k, v]) => `<dt>${k}</dt><dd>${editing ? input(k, value(k, v), `field-${k}`, k)
    : esc(k === "Flags" ? `${v} (${hex(v, 4)})` : value(k, v))}${note(k)}</dd>`).join("");
  const flags = r.flags.map((x) => editing
    ? `<li><label class="check"><input type="checkbox" data-flag="${x.name}" data-focus="flag-${x.name}"${x.set ? " checked" : ""}> ${x.name}</label>` +
      ` <span class="muted">${hex(x.bit, 4)}</span></li>`
    : `<li class="${x.set ? "on" : "off"}"><span aria-hidden="true">${x.set ? "✔" : "✘"}</span> ${x.name} <span class="muted">${hex(x.bit, 4)}${x.set ? "" : ", not set"}</span></li>`).join("");
  $("model-view").innerHTML = `
    <h2 id="model-title">${r.name ? esc(r.name) : "(empty name)"} <span class="muted">record ${r.index}</span></h2>
    ${editing ? recordOps(r) : ""}
    <p>GetPictureID: <strong>${ruleHtml(r.rules.GetPictureID)}</strong> · GetPictureIDEx: <strong>${ruleHtml(r.rules.GetPictureIDEx)}</strong>
      <button type="button" id="to-picture">Picture calculator</button></p>
    <h3>Lint</h3>${findings}
    <h3>Fields</h3>
    <dl class="fields">${fields}</dl>
    <h3>Flags</h3>
    <ul class="flags${editing ? " editing" : ""}">${flags}</ul>
    <h3>Information values</h3>
    <div class="table-wrap"><table class="info"><caption class="muted">Stored value and GetInfo's answer; rows where they differ are marked.
      A field without a note of its own is <span class="note">${esc(orvx.hostValueNote)}</span>.</caption>
      <thead><tr><th>Key</th><th>Field</th><th>Stored</th><th>GetInfo</th></tr></thead><tbody>${info}</tbody></table></div>
    <h3>Size lists</h3>
    ${editing ? sizeListEditor(f.InTraySPSZSizeList, note) : sizeListTable(r, note)}`;
  $("to-picture").addEventListener("click", () => showTab("tab-picture", true));
  const again = focused && $("model-view").querySelector(`[data-focus="${CSS.escape(focused)}"]`);
  if (again) again.focus();
}

function sizeListTable(r, note) {
  const sizes = r.sizeLists.length
    ? r.sizeLists.map((s) => s.brokenAt !== undefined
      ? `<tr class="differs"><td colspan="3">An entry at byte ${s.brokenAt} runs past the end of the block; nothing from there is read.</td></tr>`
      : `<tr><td>${s.name !== undefined ? `“${esc(s.name)}”` : `tray ${s.key}`}</td><td>${s.offset}</td>` +
        `<td>${s.sizes.length ? s.sizes.map((b) => hex(b, 2)).join(" ") : "(empty)"}</td></tr>`).join("")
    : '<tr><td colspan="3" class="muted">No size lists.</td></tr>';
  return `<table class="sizes"><caption class="muted">InTraySPSZSizeList: ${note("InTraySPSZSizeList")}</caption><thead><tr><th>Tray</th><th>At byte</th><th>Size codes</th></tr></thead><tbody>${sizes}</tbody></table>`;
}

// The size lists as export gives them: per tray (its number or name, and its
// size codes), or the block's bytes when it does not read as trays.
function sizeListEditor(list, note) {
  const caption = `<caption class="muted">InTraySPSZSizeList: ${note("InTraySPSZSizeList")} Size codes in decimal or 0x hex.</caption>`;
  if (list !== null && !isTrays(list)) {
    return `<table class="sizes editing">${caption}<tbody><tr><td>The block does not read as trays; its bytes, the length first:
      <input type="text" class="edit wide" data-sizes="block" data-focus="sizes-block" value="${esc(list.join(" "))}" aria-label="Size-list block bytes" spellcheck="false"></td></tr></tbody></table>
      <button type="button" data-sizes="clear">Remove the block</button>`;
  }
  const rows = (list || []).map((t, n) =>
    `<tr data-tray="${n}"><td><input type="text" class="edit" data-sizes="tray" data-focus="tray-${n}" value="${esc(t.tray)}" aria-label="Tray ${n + 1}: number or name" spellcheck="false"></td>` +
    `<td><input type="text" class="edit wide" data-sizes="codes" data-focus="codes-${n}" value="${esc(t.sizes.join(" "))}" aria-label="Tray ${n + 1}: size codes" spellcheck="false"></td>` +
    `<td><button type="button" data-sizes="remove" data-focus="remove-${n}" aria-label="Remove tray ${n + 1}">✕</button></td></tr>`).join("");
  return `<table class="sizes editing">${caption}<thead><tr><th>Tray (number or name)</th><th>Size codes</th><th></th></tr></thead>
    <tbody>${rows || '<tr><td colspan="3" class="muted">No size lists.</td></tr>'}</tbody></table>
    <button type="button" data-sizes="add" data-focus="tray-add">Add a tray</button>`;
}

const isTrays = (list) => Array.isArray(list) && list.every((t) => t && typeof t === "object");

// The record's own operations, in edit mode: add, copy, delete, move.
function recordOps(r) {
  const last = state.rows.length - 1;
  return `<div class="record-ops" role="group" aria-label="Record ${r.index}">
    <button type="button" data-op="blank" data-focus="op-blank">Add blank</button>
    <button type="button" data-op="copy" data-focus="op-copy">Add a copy</button>
    <button type="button" data-op="remove" data-focus="op-remove">Delete</button>
    <button type="button" data-op="up" data-focus="op-up"${r.index === 0 ? " disabled" : ""}>Move up</button>
    <button type="button" data-op="down" data-focus="op-down"${r.index === last ? " disabled" : ""}>Move down</button>
    <span class="move-to"><button type="button" data-op="to" data-focus="op-move">Move to</button>
    <input type="text" inputmode="numeric" id="move-to" data-focus="op-to" value="${r.index}" aria-label="Position to move to (0 to ${last})"></span>
  </div>`;
}

// ---- picture calculator ----------------------------------------------------------------------------

function vocabulary() {
  const f = state.selected.fields;
  return orvx.vocabulary(f.VenderID, f.ModelGroupID)[state.config.entry];
}

function renderPictureForm() {
  const r = state.selected;
  if (!r) return;
  const c = state.config;
  const vocab = vocabulary();
  $("picture-title").textContent = `Picture calculator: ${r.name}`;
  $("rule-name").textContent = vocab.rule ? `rule ${vocab.rule}` : `no rule runs: the answer is always ${hex(vocab.fixedResult, 1)}`;
  for (const input of document.querySelectorAll('input[name="entry"]')) input.checked = input.value === c.entry;
  for (const el of document.querySelectorAll("[data-entry]")) el.hidden = el.dataset.entry !== c.entry;
  for (const [list, table] of LISTS) {
    const box = document.querySelector(`fieldset[data-list="${list}"]`);
    const legend = box.querySelector("legend").outerHTML;
    const { names, prefixes } = suggestions(vocab.rows.filter((row) => row.table === table), EXAMPLES[list]);
    const chosen = c[list].map((name, i) =>
      `<li><span>${i + 1}. ${esc(name)}</span> <button type="button" data-remove="${list}" data-at="${i}" aria-label="Remove ${esc(name)}">✕</button></li>`).join("");
    box.innerHTML = `${legend}
      <ol class="chosen">${chosen || '<li class="muted">none</li>'}</ol>
      ${names.length ? `<div class="known" role="group" aria-label="Example names the rule knows">${names.map(([n, test]) =>
        `<button type="button" class="chip" data-add="${list}" data-name="${esc(n)}" title="${esc(test)}">${esc(n)}</button>`).join("")}</div>` : ""}
      ${prefixes.length ? `<p class="prefixes">Any name that begins with ${prefixes.map((p, i) =>
        `<span><button type="button" class="link" data-prefix="${list}" data-name="${esc(p)}" aria-label="Type a name that begins with ${esc(p)}">“${esc(p)}”</button>${i + 1 < prefixes.length ? "," : ""}</span>`).join(" ")}</p>` : ""}
      <div class="any"><input type="text" data-type="${list}" aria-label="Any name for ${box.querySelector("legend").textContent.toLowerCase()}" placeholder="any name"><button type="button" data-add-typed="${list}">Add</button></div>`;
  }
  $("duplex").checked = !!c.duplexUnit;
  $("output-unit").value = c.outputUnit;
  for (const k of HOST_STRINGS) {
    $(`label-${k}`).textContent = `${orvx.hostStrings[k]}, ${$(`label-${k}`).dataset.words}`;
    $(`string-${k}`).value = c.strings[orvx.hostStrings[k]] || "";
  }
  renderPicture();
}

// What a list's rows recognise: example names (a row's whole names, and the
// real names that begin with one of its prefixes), with the test that takes
// each; and the prefixes, which are the starts of names, not names.
function suggestions(rows, examples) {
  const names = new Map(), prefixes = new Set();
  for (const row of rows) {
    for (const lit of row.literals) {
      // The test's text marks a prefix with its length: begins with "Cassette" (8).
      if (!row.test.includes(`"${lit}" (`)) {
        if (!names.has(lit)) names.set(lit, [row.test, row.effect].filter(Boolean).join("; "));
        continue;
      }
      prefixes.add(lit);
      for (const n of examples) if (n.startsWith(lit) && !names.has(n)) names.set(n, [row.test, row.effect].filter(Boolean).join("; "));
    }
  }
  return { names: [...names], prefixes: [...prefixes] };
}

function request() {
  const c = state.config;
  const q = { entry: c.entry, inTrays: c.inTrays, outTrays: c.outTrays };
  if (c.entry === "GetPictureID") Object.assign(q, { duplexUnit: c.duplexUnit, outputUnit: c.outputUnit });
  else Object.assign(q, { options: c.options, docOptions: c.docOptions });
  const strings = Object.fromEntries(Object.entries(c.strings).filter(([, v]) => v));
  if (Object.keys(strings).length) q.strings = strings;
  return q;
}

function renderPicture() {
  const r = state.selected;
  const q = request();
  let a;
  try {
    a = state.db.picture(r.index, { ...q, explain: true });
  } catch (e) {
    $("picture-summary").innerHTML = `<span class="error">${esc(e.message)}</span>`;
    $("picture-result").innerHTML = "";
    return;
  }
  const bits = [];
  for (let b = 31; b >= 0; b--) {
    if (!((a.pictureId >>> b) & 1)) continue;
    const bit = (1 << b) >>> 0;
    const by = a.trace.filter((s) => (s.added & bit) !== 0).map((s) => s.name || s.test);
    bits.push(`<li><code>${hex(bit)}</code> bit ${b}${by.length ? ` from ${by.map(esc).join(", ")}` : ""}</li>`);
  }
  const trays = [...a.inTrays.map((t, i) => ["in-tray", i, q.inTrays[i], t]), ...a.outTrays.map((t, i) => ["out-tray", i, q.outTrays[i], t])];
  $("picture-summary").innerHTML = `Picture ID <output id="picture-id">${hex(a.pictureId)}</output>
    <span class="muted">= ${a.pictureId} · ${a.rule ? `rule ${esc(a.rule)}` : "no rule ran"} · details below the form</span>`;
  $("picture-result").innerHTML = `
    <h3>Bits</h3><ul class="bits">${bits.join("") || '<li class="muted">no bit set</li>'}</ul>
    <h3>Trays</h3>
    <table class="trays"><thead><tr><th>Tray</th><th>Given name</th><th>Final name</th><th>ID</th></tr></thead><tbody>
      ${trays.map(([k, i, given, t]) => `<tr><td>${k} ${i + 1}</td><td>${esc(given)}</td><td>${esc(t.name)}</td><td>${t.id}</td></tr>`).join("") ||
        '<tr><td colspan="4" class="muted">no trays</td></tr>'}</tbody></table>
    <h3>Explanation</h3>
    <div class="table-wrap"><table class="trace"><thead><tr><th>Step</th><th>Name</th><th>Row</th><th>Test</th><th>Bits added</th><th>ID</th></tr></thead><tbody>
      ${a.trace.map((s) => `<tr${s.row === null && s.kind !== "rule" ? ' class="muted"' : ""}><td>${s.kind}${s.tray === undefined ? "" : ` ${s.tray + 1}`}</td>` +
        `<td>${esc(s.name ?? "")}${s.input && s.input !== s.name ? ` <span class="muted">(given “${esc(s.input)}”)</span>` : ""}</td>` +
        `<td>${s.row === null ? "none" : s.row}</td><td>${esc(s.test || (s.row === null ? "no row matched" : ""))}</td>` +
        `<td>${s.added ? hex(s.added) : ""}</td><td>${s.id >= 0 ? s.id : ""}</td></tr>`).join("") ||
        '<tr><td colspan="6" class="muted">The rule tested nothing.</td></tr>'}</tbody></table></div>`;
  // A database file's model is named by the file and the model, when the
  // host's lookup of that name gives this record; else by vendor and group.
  const byName = state.dbFile && r.name && state.db.lookup(r.name).index === r.index;
  $("eval-line").value = orvx.requestLine(r, q, byName ? state.dbFile : undefined);
  $("line-note").textContent = byName ? `Run it in the folder of ${state.dbFile}.`
    : state.dbFile ? "The lookup of this name gives another record: the line names the vendor and group."
    : "Opened from its JSON form, which orvdb eval does not read: the line names the vendor and group.";
}

function loadLine() {
  const out = $("line-status");
  try {
    const { model, vendor, group, request: q } = orvx.parseRequestLine($("eval-line").value);
    let index = -1;
    if (typeof model === "string") {
      const found = state.db.lookup(model);
      if (found.index !== null && state.rows[found.index].name === model) index = found.index;
    }
    if (index < 0 && vendor === undefined) throw new orvx.Error(`no model named “${model}” in this database`);
    if (index < 0) {
      const match = state.rows.find((r) => r.vendor === vendor && r.group === group);
      if (!match) throw new orvx.Error(`no model in this database has vendor ${vendor} and group ${group}`);
      index = match.index;
    }
    const config = { ...emptyConfig(), entry: q.entry || "GetPictureIDEx", strings: q.strings || {} };
    for (const [list] of LISTS) config[list] = (q[list] || []).map((t) => (typeof t === "string" ? t : t.name));
    config.duplexUnit = q.duplexUnit || 0;
    config.outputUnit = q.outputUnit || 0;
    selectRecord(index);
    state.config = config;
    renderPictureForm();
    out.textContent = `Opened on record ${index}, “${state.rows[index].name}”.`;
  } catch (e) {
    out.textContent = e.message;
  }
}

// ---- lint summary -----------------------------------------------------------------------------------

function renderLint() {
  const all = state.findings;
  const byCode = new Map();
  for (const f of all) byCode.set(f.code, [...(byCode.get(f.code) || []), f]);
  $("lint-view").innerHTML = `<h2>Lint summary</h2>
    <p id="lint-count">${all.length} finding${all.length === 1 ? "" : "s"} in ${esc(state.name)}.</p>
    ${[...byCode].map(([code, list]) => `<h3><code>${code}</code> (${list.length})</h3><p class="fix">Fix: ${FIXES[code] || ""}</p><ul class="findings">${
      list.map((f) => `<li>${f.index === null ? "the file" : `<button type="button" class="link" data-index="${f.index}">record ${f.index}, “${esc(f.name)}”</button>`}: ${esc(f.message)}</li>`).join("")}</ul>`).join("")}`;
}

// ---- editing ----------------------------------------------------------------------------------------
// Every edit goes through window.orvx; the library checks it and refuses it
// with its own words. After each one the page shows again what the module
// answers: the records, lint, the changes against the opened file and the
// picture for the calculator's configuration.

const edit = {
  on: false,
  key: null,      // where this file's unsaved edits are kept in localStorage
  saved: "[]",    // the edit script at the last download (or at opening)
  offered: null,  // the stored edits the banner offers back
  lastMs: null,   // how long the last edit took to show everything again
};

// A typed value as the JSON value the library reads: whole numbers (and 0x
// hex) as numbers, anything else as the text typed, for the library to refuse.
function typed(text) {
  const t = text.trim();
  if (/^[-+]?\d+$/.test(t)) return Number(t);
  if (/^0x[0-9a-f]+$/i.test(t)) return parseInt(t, 16);
  return t;
}
const typedList = (text) => text.split(/[\s,]+/).filter(Boolean).map(typed);

// 53 bits of hash of the opened bytes: with their length and the file's name,
// the key under which its unsaved edits are kept.
function hashBytes(bytes) {
  let h1 = 0xdeadbeef, h2 = 0x41c6ce57;
  for (let i = 0; i < bytes.length; i++) {
    h1 = Math.imul(h1 ^ bytes[i], 2654435761);
    h2 = Math.imul(h2 ^ bytes[i], 1597334677);
  }
  h1 = Math.imul(h1 ^ (h1 >>> 16), 2246822507) ^ Math.imul(h2 ^ (h2 >>> 13), 3266489909);
  h2 = Math.imul(h2 ^ (h2 >>> 16), 2246822507) ^ Math.imul(h1 ^ (h1 >>> 13), 3266489909);
  return (4294967296 * (2097151 & h2) + (h1 >>> 0)).toString(36);
}

const script = () => JSON.stringify(state.db.edits());
const dirty = () => !!state.db && script() !== edit.saved;

// An edit, or its refusal: the library's message beside `where`, and nothing changed.
function applyEdit(where, fn, select) {
  const started = performance.now();
  let chosen;
  try {
    chosen = fn(state.db);
  } catch (e) {
    if (!(e instanceof orvx.Error)) throw e;
    editError(where, e.message);
    return false;
  }
  refresh(select ?? (typeof chosen === "number" ? chosen : state.selected?.index ?? 0));
  edit.lastMs = performance.now() - started;
  globalThis.orvxLastEdit = edit.lastMs;  // for the timing script
  return true;
}

function editError(where, message) {
  const view = $("model-view");
  for (const old of view.querySelectorAll(".edit-error")) old.remove();
  for (const old of view.querySelectorAll("[aria-invalid]")) old.removeAttribute("aria-invalid");
  if (!where?.isConnected) return status(message, true);
  const note = document.createElement("span");
  note.className = "edit-error";
  note.setAttribute("role", "alert");
  note.textContent = message;
  where.setAttribute("aria-invalid", "true");
  where.closest("dd, td, li, label, .record-ops")?.append(note) ?? where.after(note);
}

// Everything shown again from the module's answers, the picture's configuration kept.
function refresh(index) {
  state.rows = state.db.records();
  state.findings = state.db.lint();
  fillFilters();
  renderCatalogue(false);
  renderLint();
  if (state.rows.length) selectRecord(Math.max(0, Math.min(index, state.rows.length - 1)), true);
  else {
    state.selected = null;
    $("model-view").innerHTML = `<p class="muted">The database has no records.</p>${edit.on ? '<button type="button" data-op="blank">Add blank</button>' : ""}`;
  }
  renderChanges();
  keep();
  renderEditBar();
  status(summary());
}

// The unsaved edits in localStorage, so that a reload or a closed tab loses nothing.
function keep() {
  if (!edit.key) return;
  const now = script();
  try {
    if (now === edit.saved || now === "[]") localStorage.removeItem(edit.key);
    else localStorage.setItem(edit.key, JSON.stringify({ name: state.name, at: Date.now(), edits: JSON.parse(now) }));
  } catch (e) {
    status(`The browser would not keep the unsaved edits (${e.message}): download them.`, true);
  }
}

function renderEditBar() {
  $("edit-toggle").hidden = !state.db;
  $("edit-toggle").setAttribute("aria-pressed", edit.on);
  $("edit-toggle").textContent = edit.on ? "Stop editing" : "Edit";
  document.body.classList.toggle("editing", edit.on);
  $("edit-bar").hidden = !edit.on;
  if (!state.db) return;
  const count = state.db.edits().length;
  $("undo").disabled = !state.db.canUndo;
  $("redo").disabled = !state.db.canRedo;
  $("edit-state").textContent = count === 0 ? "The opened file, unchanged."
    : `${count} edit${count === 1 ? "" : "s"}${dirty() ? ", not downloaded (kept in this browser)" : ", downloaded"}.`;
  const c = state.changes?.summary;
  const total = c ? c.added + c.removed + c.changed + c.moved + c.lookupChanged + c.pictureDrift : 0;
  $("tab-changes").textContent = total ? `Changes (${total})` : "Changes";
}

function setEditing(on) {
  edit.on = on;
  renderEditBar();
  if (state.selected) renderModel();
}

function undoRedo(redo) {
  if (!state.db || !(redo ? state.db.canRedo : state.db.canUndo)) return;
  // The record the edit was about: shown again once it is undone or redone.
  const step = redo ? null : state.db.edits().at(-1);
  applyEdit(null, (db) => {
    if (redo) db.redo(); else db.undo();
    const e = redo ? db.edits().at(-1) : step;
    return e[0] === "move" ? e[redo ? 2 : 1] : e[1];
  });
}

function download(form) {
  let bytes;
  try {
    bytes = state.db.save(form);
  } catch (e) {
    return status(e.message, true);
  }
  const stem = state.name.replace(/\.[^.]*$/, "").replace(/[^\w.-]+/g, "_") || "ORVDB";
  const name = form === "dat" ? "ORVDB.dat" : `${stem === "ORVDB" ? "ORVDB" : stem}.json`;
  const url = URL.createObjectURL(new Blob([bytes], { type: form === "dat" ? "application/octet-stream" : "application/json" }));
  const a = Object.assign(document.createElement("a"), { href: url, download: name });
  document.body.append(a);
  a.click();
  a.remove();
  setTimeout(() => URL.revokeObjectURL(url), 60000);
  edit.saved = script();
  keep();
  renderEditBar();
  status(`Downloaded ${name} (${bytes.length} bytes).`);
}

// On opening: the key of this file's unsaved edits, and a banner when some are kept.
function offerKept(bytes, name) {
  edit.key = `orvx-edits/${hashBytes(bytes)}/${bytes.length}/${name}`;
  edit.saved = "[]";
  edit.offered = null;
  let kept = null;
  try {
    kept = JSON.parse(localStorage.getItem(edit.key));
  } catch {
    kept = null;
  }
  $("restore").hidden = !(kept && Array.isArray(kept.edits) && kept.edits.length);
  if ($("restore").hidden) return;
  edit.offered = kept.edits;
  const n = kept.edits.length;
  $("restore-text").textContent = `Restore ${n} unsaved edit${n === 1 ? "" : "s"}? (made ${new Date(kept.at).toLocaleString()})`;
}

function restoreKept(yes) {
  if (yes && edit.offered) {
    try {
      state.db.apply(edit.offered);
    } catch (e) {
      $("restore-text").textContent = `The kept edits do not apply to this file: ${e.message}`;
      return;
    }
    edit.on = true;
    const last = edit.offered.at(-1);
    refresh(last[0] === "move" ? last[2] : last[1]);
  } else if (edit.key) {
    localStorage.removeItem(edit.key);
  }
  edit.offered = null;
  $("restore").hidden = true;
}

// The model view's editing controls: each change is one call to the library.
function wireEditing() {
  const view = $("model-view");
  view.addEventListener("change", (e) => {
    const el = e.target, i = state.selected?.index;
    if (!edit.on || i === undefined) return;
    if (el.dataset.flag) applyEdit(el, (db) => db.setFlag(i, el.dataset.flag, el.checked)) || (el.checked = !el.checked);
    else if (el.dataset.key) {
      const v = el.dataset.key === "ModelName" ? el.value : el.dataset.key === "ModelNameBytes" ? typedList(el.value) : typed(el.value);
      applyEdit(el, (db) => db.set(i, el.dataset.key, v));
    } else if (el.dataset.sizes === "block") applyEdit(el, (db) => db.set(i, "InTraySPSZSizeList", typedList(el.value)));
    else if (el.dataset.sizes) setTrays(el, (trays) => {
      const t = trays[+el.closest("tr").dataset.tray];
      if (el.dataset.sizes === "tray") t.tray = typed(el.value);
      else t.sizes = typedList(el.value);
    });
  });
  document.addEventListener("click", (e) => {
    const b = e.target.closest("#model-view button[data-op], #model-view button[data-sizes]");
    if (!b || !edit.on || !state.db) return;
    const i = state.selected?.index ?? 0;
    if (b.dataset.sizes === "add") {
      setTrays(b, (trays) => trays.push({ tray: Math.max(0, ...trays.map((t) => (typeof t.tray === "number" ? t.tray : 0))) + 1, sizes: [] }));
    } else if (b.dataset.sizes === "remove") {
      setTrays(b, (trays) => trays.splice(+b.closest("tr").dataset.tray, 1));
    } else if (b.dataset.sizes === "clear") {
      applyEdit(b, (db) => db.set(i, "InTraySPSZSizeList", null));
    } else {
      const op = b.dataset.op;
      const to = op === "up" ? i - 1 : op === "down" ? i + 1 : typed($("move-to")?.value ?? "");
      if (op === "blank") applyEdit(b, (db) => db.insert(state.selected ? i + 1 : 0, null), state.selected ? i + 1 : 0);
      else if (op === "copy") applyEdit(b, (db) => db.insert(i + 1, state.selected.fields), i + 1);
      else if (op === "remove") applyEdit(b, (db) => db.remove(i), i);
      else applyEdit(b, (db) => db.move(i, to), to);
    }
  });
  view.addEventListener("keydown", (e) => {
    if (e.key === "Enter" && e.target.id === "move-to") view.querySelector('[data-op="to"]').click();
  });
  $("edit-toggle").addEventListener("click", () => setEditing(!edit.on));
  $("undo").addEventListener("click", () => undoRedo(false));
  $("redo").addEventListener("click", () => undoRedo(true));
  $("save-dat").addEventListener("click", () => download("dat"));
  $("save-json").addEventListener("click", () => download("json"));
  $("restore-yes").addEventListener("click", () => restoreKept(true));
  $("restore-no").addEventListener("click", () => restoreKept(false));
  // Ctrl+Z and Ctrl+Shift+Z (or Ctrl+Y) undo and redo edits; in a text box they stay the box's own.
  document.addEventListener("keydown", (e) => {
    if (!edit.on || !(e.ctrlKey || e.metaKey) || e.altKey) return;
    const key = e.key.toLowerCase();
    if (key !== "z" && key !== "y") return;
    if (e.target.matches?.("input[type=text], input[type=search], input:not([type]), textarea")) return;
    e.preventDefault();
    undoRedo(key === "y" || e.shiftKey);
  });
  addEventListener("beforeunload", (e) => {
    if (!dirty()) return;
    e.preventDefault();
    e.returnValue = "";  // the edits are kept in this browser too, and offered back on the next open
  });
}

// One tray's change: the whole list, as export gives it, set again.
function setTrays(where, change) {
  const i = state.selected.index;
  const trays = structuredClone(isTrays(state.selected.fields.InTraySPSZSizeList) ? state.selected.fields.InTraySPSZSizeList : []);
  change(trays);
  applyEdit(where, (db) => db.set(i, "InTraySPSZSizeList", trays.length ? trays : null));
}

// ---- changes against the opened file --------------------------------------------------------------

function renderChanges() {
  // The calculator's configuration goes along as a picture request, as diff's --configs takes them.
  const r = state.selected;
  let c;
  try {
    c = state.db.changes(r?.name ? { configs: [orvx.requestLine(r, request())] } : {});
  } catch {
    c = state.db.changes();
  }
  state.changes = c;
  const s = c.summary;
  const who = (w) => (w === null ? "no record" : `record ${w.index} “${esc(w.name ?? JSON.stringify(w.nameBytes))}”`);
  const link = (index, text) => `<button type="button" class="link" data-index="${index}">${text}</button>`;
  const bytes = (v) => (v === null ? "(no entry)" : v.length ? v.map((b) => hex(b, 2)).join(" ") : "(none)");
  const change = (x) => x.field === "Flags"
    ? `Flags: ${[...x.set.map((f) => `+${f}`), ...x.cleared.map((f) => `−${f}`)].join(" ")} (${hex(x.old, 4)} → ${hex(x.new, 4)})`
    : x.field === "InTraySPSZSizeList"
      ? (x.tray === undefined ? `size-list block: ${bytes(x.old)} → ${bytes(x.new)}`
        : `size list of tray ${typeof x.tray === "string" ? `“${esc(x.tray)}”` : x.tray}: ${bytes(x.old)} → ${bytes(x.new)}`)
      : `${x.field}: ${x.old} → ${x.new}`;
  const lookup = (l) => `<li><q>${esc(l.query ?? JSON.stringify(l.queryBytes))}</q>: ${who(l.old)}${l.old ? ` (${l.old.match})` : ""} → ` +
    `${l.new ? link(l.new.index, who(l.new)) : "no record"}${l.new ? ` (${l.new.match})` : ""}</li>`;
  const section = (title, list, item, id) => (list.length ? `<h3 id="${id}">${title} (${list.length})</h3><ul class="changes">${list.map(item).join("")}</ul>` : "");
  $("changes-view").innerHTML = `<h2>Changes against ${esc(state.name)}</h2>
    <p id="changes-summary">${s.added} added, ${s.removed} removed, ${s.changed} changed, ${s.moved} moved, ${s.lookupChanged} lookups changed,
      ${s.newNames} names newly found${s.pictureDrift ? `, the calculator's picture drifts` : ""}. <span class="muted">As <code>orvdb diff</code> reports the opened file against the edited one.</span></p>
    ${s.added + s.removed + s.changed + s.moved + s.lookupChanged + s.newNames + s.pictureDrift ? "" : '<p class="muted">No changes.</p>'}
    ${section("Lookups that change", c.lookupDrift, lookup, "changes-lookups")}
    ${section("Changed", c.changed, (x) => `<li>${link(x.new, `“${esc(x.name ?? JSON.stringify(x.nameBytes))}”`)} (record ${x.old}${x.old === x.new ? "" : ` → ${x.new}`})` +
      `<ul>${x.changes.map((y) => `<li>${change(y)}</li>`).join("")}</ul></li>`, "changes-changed")}
    ${section("Moved", c.moved, (x) => `<li>${link(x.new, `“${esc(x.name ?? JSON.stringify(x.nameBytes))}”`)}: record ${x.old} → ${x.new}</li>`, "changes-moved")}
    ${section("Added", c.added, (x) => `<li>${link(x.index, who(x))}</li>`, "changes-added")}
    ${section("Removed", c.removed, (x) => `<li>${who(x)}</li>`, "changes-removed")}
    ${section("The calculator's picture", c.pictureDrift, (x) => `<li><q>${esc(x.model)}</q>: ${who(x.old)} → ${who(x.new)}, picture ID ` +
      `${x.oldPictureId === null ? "none" : hex(x.oldPictureId)} → ${x.newPictureId === null ? "none" : hex(x.newPictureId)}</li>`, "changes-picture")}
    ${c.newNames.length ? `<details><summary>Names newly found (${c.newNames.length})</summary><ul class="changes">${c.newNames.map(lookup).join("")}</ul></details>` : ""}`;
}

// ---- tabs and events -------------------------------------------------------------------------------------

const TABS = ["tab-model", "tab-picture", "tab-lint", "tab-changes"];

function showTab(id, focus = false) {
  for (const t of TABS) {
    const on = t === id;
    $(t).setAttribute("aria-selected", on);
    $(t).tabIndex = on ? 0 : -1;
    $($(t).getAttribute("aria-controls")).hidden = !on;
  }
  if (focus) $(id).focus();
  if (id === "tab-changes" && state.db) renderChanges();  // with the calculator's configuration as it is now
}

function wire() {
  $("file-input").addEventListener("change", (e) => openFile(e.target.files[0]));
  $("open-sample").addEventListener("click", openSample);
  $("open-bundled").addEventListener("click", () => {
    const db = embedded("orvx-db");
    if (db) openBytes(db.bytes, db.name);
  });
  document.addEventListener("dragover", (e) => { e.preventDefault(); document.body.classList.add("dragging"); });
  document.addEventListener("dragleave", () => document.body.classList.remove("dragging"));
  document.addEventListener("drop", (e) => {
    e.preventDefault();
    document.body.classList.remove("dragging");
    openFile(e.dataTransfer.files[0]);
  });
  for (const id of ["search", "vendor-filter", "group-filter", "flag-filter", "lint-filter"])
    $(id).addEventListener("input", renderCatalogue);
  for (const th of document.querySelectorAll("#catalogue-table th")) {
    th.querySelector("button").addEventListener("click", () => {
      state.sort = { key: th.dataset.key, dir: state.sort.key === th.dataset.key ? -state.sort.dir : 1 };
      renderCatalogue();
    });
  }
  const tbody = $("catalogue-table").tBodies[0];
  tbody.addEventListener("click", (e) => {
    const tr = e.target.closest("tr[data-index]");
    if (!tr) return;
    selectRecord(+tr.dataset.index);
    if (matchMedia("(max-width: 900px)").matches) $("detail").scrollIntoView();  // one column: the view is below
  });
  tbody.addEventListener("keydown", (e) => {
    const tr = e.target.closest("tr[data-index]");
    if (!tr) return;
    if (e.key === "Enter" || e.key === " ") { e.preventDefault(); selectRecord(+tr.dataset.index); }
    const to = +tr.dataset.pos + ({ ArrowDown: 1, ArrowUp: -1 }[e.key] ?? NaN);
    if (to >= 0 && to < state.shown.length) { e.preventDefault(); focusRow(to); }
  });
  const wrap = $("catalogue-wrap");
  wrap.addEventListener("scroll", () => { readView(wrap); drawRows(true); }, { passive: true });
  // A new width gives rows new heights; a new height wants more rows.
  new ResizeObserver(() => {
    if (state.db && wrap.clientHeight) readView(wrap), drawRows(wrap.clientWidth === list.width);
  }).observe(wrap);
  document.addEventListener("click", (e) => {
    const link = e.target.closest("button.link[data-index]");
    if (link) selectRecord(+link.dataset.index), showTab("tab-model", true);
  });
  for (const t of TABS) {
    $(t).addEventListener("click", () => showTab(t));
    $(t).addEventListener("keydown", (e) => {
      const step = { ArrowRight: 1, ArrowLeft: -1 }[e.key];
      if (step) showTab(TABS[(TABS.indexOf(t) + step + TABS.length) % TABS.length], true);
    });
  }
  const form = $("picture-form");
  form.addEventListener("submit", (e) => e.preventDefault());
  form.addEventListener("click", (e) => {
    const b = e.target.closest("button");
    if (!b || !state.selected) return;
    const c = state.config;
    if (b.dataset.prefix) {
      const input = form.querySelector(`input[data-type="${b.dataset.prefix}"]`);
      input.value = b.dataset.name;
      input.focus();
      return;
    }
    if (b.dataset.add) c[b.dataset.add].push(b.dataset.name);
    else if (b.dataset.remove) c[b.dataset.remove].splice(+b.dataset.at, 1);
    else if (b.dataset.addTyped) {
      const input = form.querySelector(`input[data-type="${b.dataset.addTyped}"]`);
      if (!input.value) return;
      c[b.dataset.addTyped].push(input.value);
    } else return;
    const focusKey = b.dataset.add ? `[data-add="${b.dataset.add}"][data-name="${CSS.escape(b.dataset.name)}"]`
      : `[data-add-typed="${b.dataset.addTyped || b.dataset.remove}"]`;
    renderPictureForm();
    const again = form.querySelector(focusKey);
    if (again) again.focus();
  });
  form.addEventListener("keydown", (e) => {
    if (e.key === "Enter" && e.target.dataset.type) {
      e.preventDefault();
      form.querySelector(`[data-add-typed="${e.target.dataset.type}"]`).click();
      form.querySelector(`input[data-type="${e.target.dataset.type}"]`).focus();
    }
  });
  form.addEventListener("change", (e) => {
    if (!state.selected) return;
    const c = state.config;
    if (e.target.name === "entry") {
      c.entry = e.target.value;
      renderPictureForm();
      return;
    }
    c.duplexUnit = $("duplex").checked ? 1 : 0;
    c.outputUnit = Math.trunc(+$("output-unit").value) || 0;
    c.strings = Object.fromEntries(HOST_STRINGS.map((k) => [orvx.hostStrings[k], $(`string-${k}`).value]));
    renderPicture();
  });
  $("copy-line").addEventListener("click", async () => {
    try {
      await navigator.clipboard.writeText($("eval-line").value);
      $("line-status").textContent = "Copied.";
    } catch {
      $("eval-line").select();
      $("line-status").textContent = "Selected: copy it with Ctrl+C.";
    }
  });
  $("load-line").addEventListener("click", loadLine);
  wireEditing();
}

async function start() {
  try {
    await orvx.ready;
    performance.mark("orvx-ready");
  } catch (e) {
    status(`The library could not be loaded: ${e.message}`, true);
    return;
  }
  wire();
  const bundled = embedded("orvx-db");
  performance.mark("orvx-decoded");
  if (bundled) {
    edit.on = document.getElementById("orvx-db").dataset.edit === "true";  // orvdb html --edit
    $("open-bundled").hidden = false;
    $("open-bundled").textContent = `Open ${bundled.name}`;
    openBytes(bundled.bytes, bundled.name);
  } else {
    status(`orvx ${orvx.version} is ready: open a database, or the sample.`);
  }
}

start();
