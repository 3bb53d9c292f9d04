// The model workbench page. It asks window.orvx (the library compiled to
// WebAssembly) for every answer and only lays them out.
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
  db: null,
  name: "",
  rows: [],
  shown: [],
  sort: { key: "index", dir: 1 },
  renders: 0,
  selected: null,  // the selected record, whole
  config: emptyConfig(),
};

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
  fillFilters();
  renderCatalogue();
  renderLint();
  $("main").hidden = false;
  const problems = state.findings.length;
  status(`${name}: ${db.count} models (${db.form === "json" ? "JSON form" : "database file"}), ` +
         `${problems} lint finding${problems === 1 ? "" : "s"}. Opened in ${Math.round(performance.now() - started)} ms.`);
  if (state.rows.length) selectRecord(0);
  else $("model-view").innerHTML = '<p class="muted">The database has no records.</p>';
  globalThis.orvxShownAt = performance.now();  // for bench/web_timing.py
  document.dispatchEvent(new CustomEvent("orvx-opened", { detail: { name, count: db.count } }));
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
    const select = $(id);
    select.length = 1;
    for (const v of values) select.add(new Option(label(v), v));
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

const FIRST_ROWS = 300;

function catalogueRows(rows) {
  const selected = state.selected ? state.selected.index : -1;
  return rows.map((r) =>
    `<tr tabindex="0" data-index="${r.index}"${r.index === selected ? ' aria-selected="true"' : ""}>` +
    `<td>${r.index}</td><td>${r.name ? esc(r.name) : '<span class="muted">(empty name)</span>'}</td><td>${r.vendor}</td><td>${r.group}</td>` +
    `<td>${ruleHtml(r.rules.GetPictureID)}</td><td>${ruleHtml(r.rules.GetPictureIDEx)}</td>` +
    `<td>${r.flagNames.map((f) => `<span class="badge">${f}</span>`).join("")}` +
    `${r.flags & ~0x1fff ? `<span class="badge bad" title="bits outside the thirteen flags">${hex(r.flags & ~0x1fff, 1)}</span>` : ""}</td>` +
    `<td>${r.lint ? `<span class="lint-mark" title="${r.lint} lint finding${r.lint > 1 ? "s" : ""}">⚠ ${r.lint}</span>` : ""}</td></tr>`).join("");
}

function renderCatalogue() {
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
  // The first rows show at once; a long catalogue's others follow in the next task.
  const body = $("catalogue-table").tBodies[0];
  const generation = ++state.renders;
  body.innerHTML = catalogueRows(state.shown.slice(0, FIRST_ROWS));
  if (state.shown.length > FIRST_ROWS) {
    setTimeout(() => {
      if (generation === state.renders) body.insertAdjacentHTML("beforeend", catalogueRows(state.shown.slice(FIRST_ROWS)));
    });
  }
  $("row-count").textContent = `${state.shown.length} of ${state.rows.length} models shown`;
  for (const th of document.querySelectorAll("#catalogue-table th"))
    th.setAttribute("aria-sort", th.dataset.key === state.sort.key ? (state.sort.dir > 0 ? "ascending" : "descending") : "none");
  renderLookup();
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

function selectRecord(index) {
  state.selected = state.db.record(index);
  for (const tr of document.querySelectorAll("#catalogue-table tbody tr[aria-selected]")) tr.removeAttribute("aria-selected");
  const row = document.querySelector(`#catalogue-table tbody tr[data-index="${index}"]`);
  if (row) row.setAttribute("aria-selected", "true");
  renderModel();
  state.config = { ...emptyConfig(), entry: state.config.entry, strings: state.config.strings };
  renderPictureForm();
}

function renderModel() {
  const r = state.selected;
  const f = r.fields;
  const plain = Object.entries(f).filter(([k]) => !k.startsWith("Info") && k !== "FlagNames" && k !== "InTraySPSZSizeList");
  // Each field's meaning is the module's (the lines `orvdb show` prints). The one most
  // information fields share heads their table; a row shows only a meaning of its own.
  const note = (k) => (orvx.fieldNotes[k] ? `<span class="note">${esc(orvx.fieldNotes[k])}</span>` : "");
  const ownNote = (k) => (orvx.fieldNotes[k] === orvx.hostValueNote ? "" : note(k));
  const info = r.info.map((i) => i.setOnly
    ? `<tr class="muted"><td>${hex(i.key, 4)}</td><td>${i.field}${ownNote(i.field)}</td><td colspan="2">sets ${i.field} only</td></tr>`
    : `<tr${i.stored !== i.getInfo ? ' class="differs"' : ""}><td>${hex(i.key, 4)}</td><td>${i.field}${ownNote(i.field)}</td>` +
      `<td>${i.stored}</td><td>${i.getInfo}${i.stored !== i.getInfo ? " ≠ stored" : ""}</td></tr>`).join("");
  const sizes = r.sizeLists.length
    ? r.sizeLists.map((s) => s.brokenAt !== undefined
      ? `<tr class="differs"><td colspan="3">An entry at byte ${s.brokenAt} runs past the end of the block; nothing from there is read.</td></tr>`
      : `<tr><td>${s.name !== undefined ? `“${esc(s.name)}”` : `tray ${s.key}`}</td><td>${s.offset}</td>` +
        `<td>${s.sizes.length ? s.sizes.map((b) => hex(b, 2)).join(" ") : "(empty)"}</td></tr>`).join("")
    : '<tr><td colspan="3" class="muted">No size lists.</td></tr>';
  const findings = r.findings.length
    ? `<ul class="findings">${r.findings.map((x) => `<li><code>${x.code}</code> ${esc(x.message)}<br><span class="fix">Fix: ${FIXES[x.code] || ""}</span></li>`).join("")}</ul>`
    : '<p class="muted">No lint findings.</p>';
  $("model-view").innerHTML = `
    <h2 id="model-title">${r.name ? esc(r.name) : "(empty name)"} <span class="muted">record ${r.index}</span></h2>
    <p>GetPictureID: <strong>${ruleHtml(r.rules.GetPictureID)}</strong> · GetPictureIDEx: <strong>${ruleHtml(r.rules.GetPictureIDEx)}</strong>
      <button type="button" id="to-picture">Picture calculator</button></p>
    <h3>Lint</h3>${findings}
    <h3>Fields</h3>
    <dl class="fields">${plain.map(([k, v]) => `<dt>${k}</dt><dd>${esc(Array.isArray(v) ? v.join(" ") : k === "Flags" ? `${v} (${hex(v, 4)})` : v)}${note(k)}</dd>`).join("")}</dl>
    <h3>Flags</h3>
    <ul class="flags">${r.flags.map((x) => `<li class="${x.set ? "on" : "off"}"><span aria-hidden="true">${x.set ? "✔" : "✘"}</span> ${x.name} <span class="muted">${hex(x.bit, 4)}${x.set ? "" : ", not set"}</span></li>`).join("")}</ul>
    <h3>Information values</h3>
    <div class="table-wrap"><table class="info"><caption class="muted">Stored value and GetInfo's answer; rows where they differ are marked.
      A field without a note of its own is <span class="note">${esc(orvx.hostValueNote)}</span>.</caption>
      <thead><tr><th>Key</th><th>Field</th><th>Stored</th><th>GetInfo</th></tr></thead><tbody>${info}</tbody></table></div>
    <h3>Size lists</h3>
    <table class="sizes"><caption class="muted">InTraySPSZSizeList: ${note("InTraySPSZSizeList")}</caption><thead><tr><th>Tray</th><th>At byte</th><th>Size codes</th></tr></thead><tbody>${sizes}</tbody></table>`;
  $("to-picture").addEventListener("click", () => showTab("tab-picture", true));
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

// ---- tabs and events -------------------------------------------------------------------------------------

const TABS = ["tab-model", "tab-picture", "tab-lint"];

function showTab(id, focus = false) {
  for (const t of TABS) {
    const on = t === id;
    $(t).setAttribute("aria-selected", on);
    $(t).tabIndex = on ? 0 : -1;
    $($(t).getAttribute("aria-controls")).hidden = !on;
  }
  if (focus) $(id).focus();
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
    if (e.key === "ArrowDown" && tr.nextElementSibling) { e.preventDefault(); tr.nextElementSibling.focus(); }
    if (e.key === "ArrowUp" && tr.previousElementSibling) { e.preventDefault(); tr.previousElementSibling.focus(); }
  });
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
    $("open-bundled").hidden = false;
    $("open-bundled").textContent = `Open ${bundled.name}`;
    openBytes(bundled.bytes, bundled.name);
  } else {
    status(`orvx ${orvx.version} is ready: open a database, or the sample.`);
  }
}

start();
