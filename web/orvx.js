// window.orvx: the orvx library compiled to WebAssembly, for the page and
// for anyone at the browser console. Every answer comes from the module;
// this file only moves bytes and JSON texts across.
//
//   await orvx.ready;
//   const db = orvx.open(bytes);          // ORVDB.dat or its JSON form; throws orvx.Error
//   db.count; db.records(); db.record(3); db.lookup("Vantor LP-1200 PCL6");
//   db.lint(); db.picture(3, {entry: "GetPictureIDEx", inTrays: ["Cassette 1"], outTrays: []});
//   orvx.vocabulary(1, 2); orvx.flags; orvx.fieldNotes; orvx.version
//   orvx.requestLine(db.record(3), request, "ORVDB.dat"); orvx.parseRequestLine(line)
//
// Editing (each edit is checked by the library first: a refused one throws
// orvx.Error with its message and changes nothing):
//   db.set(3, "Info0301", 2); db.set(3, "ModelName", "Vantor LP-1300");
//   db.set(3, "InTraySPSZSizeList", [{tray: 1, sizes: [1, 2]}, {tray: "Cassette", sizes: []}]);
//   db.setFlag(3, "IsColorPrinter", true); db.insert(4, db.record(3).fields); db.insert(0, null);
//   db.remove(4); db.move(5, 0); db.undo(); db.redo(); db.canUndo; db.canRedo
//   db.save("dat") / db.save("json")     // a Uint8Array: the opened bytes while nothing changed
//   db.changes()                         // `orvdb diff --json` of the opened database against this one
//   db.edits(); db.apply(script)          // the edit script, to keep and replay later
// records(), record(), lookup(), lint() and picture() answer for the database as edited.

class OrvxError extends Error {
  constructor(message, offset, edit) {
    super(message);
    this.name = "OrvxError";
    this.offset = offset ?? null;  // the byte where an opened file is damaged
    this.edit = edit ?? null;      // where in a script given to apply() the refused entry is
  }
}

let M = null;  // the emscripten module, once loaded

// Calls an exported function whose answer is a JSON text the module allocated.
function call(name, ...args) {
  const p = M["_orvx_web_" + name](...args);
  if (!p) throw new OrvxError("the module ran out of memory");
  const text = M.UTF8ToString(p);
  M._orvx_web_free(p);
  const answer = JSON.parse(text);
  if (answer && !Array.isArray(answer) && typeof answer === "object" && "error" in answer)
    throw new OrvxError(answer.error, answer.offset, answer.edit);
  return answer;
}

// A NUL-terminated UTF-8 copy of `text` in the module's memory, for the span of `fn`.
function withString(text, fn) {
  const size = M.lengthBytesUTF8(text) + 1;
  const p = M._malloc(size);
  try {
    M.stringToUTF8(text, p, size);
    return fn(p);
  } finally {
    M._free(p);
  }
}

// A record index as the module takes it (a size_t).
function recordIndex(i) {
  if (!Number.isInteger(i) || i < 0 || i > 0xffffffff) throw new OrvxError(`not a record index: ${i}`);
  return i;
}

function jsonText(value) {
  const text = JSON.stringify(value);
  if (text === undefined) throw new OrvxError(`not a JSON value: ${value}`);
  return text;
}

function flagNames(word) {
  return orvx.flags.filter((f) => (word & f.bit) !== 0).map((f) => f.name);
}

class Database {
  constructor(handle, count, form) {
    this.handle = handle;
    this.count = count;  // number of records
    this.form = form;    // "dat" or "json": what the bytes were
    this.canUndo = false;
    this.canRedo = false;
    this._records = null;
  }
  _live() {
    if (!this.handle) throw new OrvxError("the database is closed");
    return this.handle;
  }
  // Every record in file order: {index, name, vendor, group, flags, flagNames,
  // rules: {GetPictureID, GetPictureIDEx} (a rule's name or {fixed: N}), lint (count of findings)}.
  records() {
    if (!this._records) {
      this._records = call("records", this._live()).map(([index, name, vendor, group, flags, classic, extended, lint]) => ({
        index, name, vendor, group, flags, flagNames: flagNames(flags),
        rules: { GetPictureID: classic, GetPictureIDEx: extended }, lint,
      }));
    }
    return this._records;
  }
  // One record whole: {index, name, fields (as `orvdb export` writes them), flags [{name, bit, set}],
  // info [{key, field, stored, getInfo} | {key, field, setOnly}], sizeLists [{offset, key, name?, sizes} |
  // {brokenAt}], rules, findings}.
  record(index) {
    return call("record", this._live(), index);
  }
  // The host's lookup: {index, modelName, match: "exact" | "hp" | "substring" | "default"}.
  lookup(name) {
    return withString(String(name), (p) => call("lookup", this._live(), p));
  }
  // Lint's findings: [{index (null: the file), name, code, message}].
  lint() {
    return call("lint", this._live());
  }
  // A picture call on record `index`: `request` is an `orvdb eval` picture request without the
  // members that choose a record, read by eval's own decoder, and the answer is eval's:
  // {pictureId, rule, inTrays/outTrays [{name, id}], trace (with explain: true) [{kind, tray, input,
  // name, final, row, test, added, id}]}; a refused request throws orvx.Error with eval's message.
  picture(index, request) {
    return withString(JSON.stringify(request), (p) => call("picture", this._live(), index, p));
  }
  // ---- editing. Each edit answers {count, edits (how many are applied), canUndo, canRedo,
  // edit (its script entry: ["set", i, key, value] | ["setFlag", i, name, on] |
  // ["insert", i, fields | null] | ["remove", i] | ["move", from, to])}.
  _edited(answer) {
    this.count = answer.count;
    this.canUndo = answer.canUndo;
    this.canRedo = answer.canRedo;
    this._records = null;
    return answer;
  }
  // Any key of a record's JSON form (`orvdb export`), its value as that form writes it.
  set(i, key, value) {
    return this._edited(withString(String(key), (k) =>
      withString(jsonText(value), (v) => call("set", this._live(), recordIndex(i), k, v))));
  }
  setFlag(i, name, on) {
    return this._edited(withString(String(name), (n) => call("set_flag", this._live(), recordIndex(i), n, on ? 1 : 0)));
  }
  // A record at `i` (0 to count) made of `fields` (keys of the JSON form, e.g. another record's
  // record(j).fields for a copy), or a blank one for null.
  insert(i, fields = null) {
    return this._edited(withString(jsonText(fields), (f) => call("insert", this._live(), recordIndex(i), f)));
  }
  remove(i) {
    return this._edited(call("remove", this._live(), recordIndex(i)));
  }
  // The record at `from` moves so that it ends up at position `to`.
  move(from, to) {
    return this._edited(call("move", this._live(), recordIndex(from), recordIndex(to)));
  }
  // Takes back the last edit, or applies the last one taken back again; `edit` is its script entry.
  undo() {
    return this._edited(call("undo", this._live()));
  }
  redo() {
    return this._edited(call("redo", this._live()));
  }
  // The edits applied (the undone ones not), oldest first.
  edits() {
    return call("edits", this._live());
  }
  // Applies a script as edits() gives it, whole or not at all: a refused entry throws with
  // `error.edit` its position, and nothing changes. The edits can be undone one by one.
  apply(script) {
    return this._edited(withString(jsonText(script), (s) => call("apply", this._live(), s)));
  }
  // The database as "dat" (the file layout) or "json" (as `orvdb export` writes it).
  save(form = "dat") {
    const out = M._malloc(8);
    try {
      const answer = withString(String(form), (f) => call("save", this._live(), f, out, out + 4));
      const p = M.HEAPU32[out >> 2];
      const bytes = M.HEAPU8.slice(p, p + answer.size);
      M._orvx_web_free(p);
      return bytes;
    } finally {
      M._free(out);
    }
  }
  // `orvdb diff --json OLD NEW` of the database as opened against this one: {old, new, summary,
  // added, removed, changed, moved, lookupDrift, newNames, pictureDrift}. `options`: {old, new}
  // (the names the report gives the two; "opened" and "edited"), names (more names to look up)
  // and configs (eval picture requests naming models, as strings), as --names and --configs.
  changes(options = {}) {
    return withString(jsonText(options), (p) => call("changes", this._live(), p));
  }
  close() {
    if (this.handle) M._orvx_web_close(this.handle);
    this.handle = 0;
  }
}

const orvx = {
  Error: OrvxError,
  version: null,
  flags: [],  // [{name, bit}] of the thirteen capability flags
  hostStrings: {},  // {manualTray, defaultTray}: the numbers of the host strings the rules read
  fieldNotes: {},      // {field: its one-line meaning} for every field of a record, as `orvdb show` gives them
  hostValueNote: "",   // the meaning most information fields share
  ready: null,
  // A database from bytes (Uint8Array or ArrayBuffer); throws orvx.Error with the byte offset of damage.
  open(bytes) {
    const data = bytes instanceof Uint8Array ? bytes : new Uint8Array(bytes);
    const p = M._malloc(Math.max(data.length, 1));
    const out = M._malloc(4);
    try {
      M.HEAPU8.set(data, p);
      const answer = call("open", p, data.length, out);
      return new Database(M.HEAPU32[out >> 2], answer.count, answer.form);
    } finally {
      M._free(p);
      M._free(out);
    }
  },
  // The rules of a vendor/group pair in both entry points, as `orvdb rules --json` gives them:
  // {vendor, group, GetPictureID: {rule, fixedResult, rows}, GetPictureIDEx: ...}; each row
  // {table: "option" | "doc-option" | "in-tray" | "out-tray" | "rule", index, test, literals, bits, id, effect}.
  vocabulary(vendor, group) {
    return call("vocabulary", vendor, group);
  },
  // An `orvdb eval` request line for a picture call on `record` (as db.record gives it): the
  // model of database file `db` when a file is given (its lookup must give that record), else a
  // fresh record of the same vendor and group.
  requestLine(record, request, db) {
    const f = record.fields;
    const line = { op: "picture", entry: request.entry || "GetPictureIDEx" };
    if (db && typeof f.ModelName === "string") Object.assign(line, { db, model: f.ModelName });
    else {
      Object.assign(line, { vendor: f.VenderID, group: f.ModelGroupID });
      if (typeof f.ModelName === "string") line.model = f.ModelName;
    }
    for (const k of ["inTrays", "outTrays"]) line[k] = request[k] || [];
    if (line.entry === "GetPictureID") {
      line.duplexUnit = request.duplexUnit || 0;
      line.outputUnit = request.outputUnit || 0;
    } else {
      line.options = request.options || [];
      line.docOptions = request.docOptions || [];
    }
    if (request.strings && Object.keys(request.strings).length) line.strings = request.strings;
    return JSON.stringify(line);
  },
  // The parts of a request line: {model, vendor, group, request}; throws orvx.Error when it is no picture request.
  parseRequestLine(line) {
    let q;
    try {
      q = JSON.parse(line);
    } catch (e) {
      throw new OrvxError("not a JSON line: " + e.message);
    }
    if (!q || typeof q !== "object" || Array.isArray(q) || (q.op !== undefined && q.op !== "picture"))
      throw new OrvxError('not a picture request (it needs "op":"picture")');
    const { op, db, vendor, group, model, form, ...request } = q;
    return { model, vendor, group, request };
  },
};

orvx.ready = (async () => {
  if (typeof createOrvxModule !== "function") throw new OrvxError("orvx_wasm.js is not loaded");
  M = await createOrvxModule();
  const about = call("about");
  orvx.version = about.version;
  orvx.flags = about.flags;
  orvx.fieldNotes = about.fieldNotes;
  orvx.hostValueNote = about.hostValueNote;
  orvx.hostStrings = about.hostStrings;
  return orvx;
})();

globalThis.orvx = orvx;
export default orvx;
