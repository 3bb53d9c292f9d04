// The edit scripts of edit_faces.py through the page's module: apply() gives
// the bytes Python and build agree on, edits() gives the script back, the
// JSON form builds the same file, undo goes back to the opened bytes and redo
// forward again, and changes() is what `orvdb diff --json` prints. Bad edits
// are refused with the library's message and change nothing.
// usage: node web_edits.mjs WEB_DIR DB ORVDB SCRIPTS   (SCRIPTS: [[steps, bytes as hex], ...])
import assert from "assert";
import { spawnSync } from "child_process";
import { mkdtempSync, readFileSync, writeFileSync } from "fs";
import { createRequire } from "module";
import { tmpdir } from "os";
import { join, resolve } from "path";
import { pathToFileURL } from "url";

const [web, dbPath, orvdb, scriptsPath] = process.argv.slice(2);
globalThis.createOrvxModule = createRequire(import.meta.url)(resolve(web, "orvx_wasm.js"));
const { default: orvx } = await import(pathToFileURL(resolve(web, "orvx.js")));
await orvx.ready;
const opened = readFileSync(dbPath), start = orvx.open(opened).save("dat");
const dir = mkdtempSync(join(tmpdir(), "orvx-edits-")), newPath = join(dir, "new.dat");
JSON.parse(readFileSync(scriptsPath, "utf8")).forEach(([script, hex], number) => {
  const db = orvx.open(opened);
  db.apply(script);
  const edited = db.save("dat");
  assert.deepStrictEqual(Buffer.from(edited).toString("hex"), hex, `script ${number}`);
  assert.deepStrictEqual([db.edits(), orvx.open(db.save("json")).save("dat")], [script, edited], `script ${number}`);
  writeFileSync(newPath, edited);
  const native = spawnSync(orvdb, ["diff", "--json", dbPath, newPath], { encoding: "utf8" });
  assert.deepStrictEqual(db.changes({ old: dbPath, new: newPath }), JSON.parse(native.stdout), native.stderr);
  while (db.canUndo) db.undo();
  assert.deepStrictEqual(db.save("dat"), start);
  while (db.canRedo) db.redo();
  assert.deepStrictEqual(db.save("dat"), edited);
});

const db = orvx.open(opened), n = db.count;
for (const [edit, message] of [
  [["setFlag", 0, "IsNoSuchFlag", true], /^model 0 \("Other Printer"\), key "FlagNames": .*IsNoSuchFlag/],
  [["insert", 0, { VenderID: -1 }], /^model 0\b.*, key "VenderID": -1 is out of range/],
  [["move", 0, n], RegExp(`^model ${n}: no such record`)],
])
  assert.throws(() => db[edit[0]](...edit.slice(1)), (e) => e instanceof orvx.Error && message.test(e.message), JSON.stringify(edit));
assert.throws(() => db.apply([["move", 0, 1], ["remove", n]]), (e) => e.edit === 1 && /no such record/.test(e.message));
assert.deepStrictEqual([db.save("dat"), db.edits(), db.canUndo, db.count], [start, [], false, n]);
