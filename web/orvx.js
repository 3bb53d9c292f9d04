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

class OrvxError extends Error {
  constructor(message, offset) {
    super(message);
    this.name = "OrvxError";
    this.offset = offset ?? null;
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
    throw new OrvxError(answer.error, answer.offset);
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

function flagNames(word) {
  return orvx.flags.filter((f) => (word & f.bit) !== 0).map((f) => f.name);
}

class Database {
  constructor(handle, count, form) {
    this.handle = handle;
    this.count = count;  // number of records
    this.form = form;    // "dat" or "json": what the bytes were
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
