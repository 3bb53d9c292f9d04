// Edits through the page's module. Seeded random edits made one call at a
// time: edits() gives them back and apply() of that script on a fresh open
// gives the same file, so does the JSON form, undo goes back to the opened
// bytes and redo forward again, and changes() is what `orvdb diff --json`
// prints. Bad edits are refused with the library's message and change nothing.
// (edit_faces.py holds the module's files against the JSON form and build,
// through --apply.)
// usage: node web_edits.mjs WEB_DIR DB ORVDB
//        node web_edits.mjs WEB_DIR DB --apply SCRIPT OUT   (SCRIPT as db.edits() gives it; OUT gets save("dat"))
import assert from "assert";
import { spawnSync } from "child_process";
import { existsSync, mkdtempSync, readFileSync, writeFileSync } from "fs";
import { createRequire } from "module";
import { tmpdir } from "os";
import { join, resolve } from "path";
import { pathToFileURL } from "url";

const [web, dbPath, orvdb, scriptPath, outPath] = process.argv.slice(2);
if (!existsSync(resolve(web, "orvx_wasm.js"))) {
  console.log(`skipped: no orvx_wasm.js in ${web} (build the wasm preset)`);
  process.exit(77);
}
globalThis.createOrvxModule = createRequire(import.meta.url)(resolve(web, "orvx_wasm.js"));
const { default: orvx } = await import(pathToFileURL(resolve(web, "orvx.js")));
await orvx.ready;
const opened = readFileSync(dbPath);
if (orvdb === "--apply") {
  const db = orvx.open(opened);
  db.apply(JSON.parse(readFileSync(scriptPath, "utf8")));
  writeFileSync(outPath, db.save("dat"));
  process.exit(0);
}

const rng = (seed) => (n) => {  // mulberry32: a number below n
  seed = (seed + 0x6d2b79f5) | 0;
  let t = Math.imul(seed ^ (seed >>> 15), 1 | seed);
  t = (t + Math.imul(t ^ (t >>> 7), 61 | t)) ^ t;
  return ((t ^ (t >>> 14)) >>> 0) % n;
};
const run = (db, [op, ...args]) => db[op](...args);
function randomEdit(db, r) {
  const n = db.count, i = r(n), pick = (a) => a[r(a.length)], other = () => db.record(r(n)).fields;
  switch (n ? r(6) : 3) {
    case 0: {
      const key = pick(Object.keys(other()).filter((k) => typeof other()[k] === "number" && k !== "Flags"));
      return ["set", i, key, pick([0, 1, 2, other()[key]])];
    }
    case 1: return ["set", i, "ModelName", pick(["", "hp LaserJet", `${db.record(r(n)).name} 2`])];
    case 2: {
      const tray = () => ({ tray: r(2) ? 1 + r(3) : pick(["Cassette 1", "Manual"]), sizes: Array.from({ length: r(5) }, () => 1 + r(30)) });
      return ["set", i, "InTraySPSZSizeList", r(4) ? Array.from({ length: r(3) }, tray) : null];
    }
    case 3: return ["insert", r(n + 1), n && r(2) ? other() : null];
    case 4: return ["setFlag", i, pick(orvx.flags).name, !!r(2)];
    default: return r(3) ? ["move", i, r(n)] : ["remove", i];
  }
}
const dir = mkdtempSync(join(tmpdir(), "orvx-edits-")), start = orvx.open(opened).save("dat");
for (let seed = 1; seed <= 25; ++seed) {
  const db = orvx.open(opened), r = rng(seed), script = [];
  for (let k = 0; k < 40; ++k) {
    const e = randomEdit(db, r);
    run(db, e);
    script.push(JSON.parse(JSON.stringify(e)));
  }
  const edited = db.save("dat"), newPath = join(dir, "new.dat");
  assert.deepStrictEqual(db.edits(), script, `seed ${seed}`);
  const again = orvx.open(opened);
  again.apply(script);
  assert.deepStrictEqual(again.save("dat"), edited);
  assert.deepStrictEqual(orvx.open(db.save("json")).save("dat"), edited);
  writeFileSync(newPath, edited);
  const native = spawnSync(orvdb, ["diff", "--json", dbPath, newPath], { encoding: "utf8" });
  assert.deepStrictEqual(db.changes({ old: dbPath, new: newPath }), JSON.parse(native.stdout), native.stderr);
  while (db.canUndo) db.undo();
  assert.deepStrictEqual(db.save("dat"), start);
  while (db.canRedo) db.redo();
  assert.deepStrictEqual(db.save("dat"), edited);
}

const db = orvx.open(opened), n = db.count;
for (const [edit, message] of [
  [["set", 0, "VenderID", 70000], /^model 0 \("Other Printer"\), key "VenderID": 70000 is out of range/],
  [["set", 0, "NoSuchKey", 1], /^model 0 \("Other Printer"\), key "NoSuchKey": /],
  [["setFlag", 0, "IsNoSuchFlag", true], /^model 0 \("Other Printer"\), key "FlagNames": .*IsNoSuchFlag/],
  [["set", 0, "InTraySPSZSizeList", [{ tray: 1, sizes: Array(300).fill(1) }]], /^model 0 .*255/],
  [["insert", 0, { VenderID: -1 }], /^model 0\b.*, key "VenderID": -1 is out of range/],
  [["set", n, "VenderID", 1], RegExp(`^model ${n}: no such record`)],
  [["remove", n], RegExp(`^model ${n}: no such record`)],
  [["move", 0, n], RegExp(`^model ${n}: no such record`)],
  [["insert", n + 1, null], RegExp(`^model ${n + 1}: no such record`)],
])
  assert.throws(() => run(db, edit), (e) => e instanceof orvx.Error && message.test(e.message), JSON.stringify(edit));
assert.throws(() => db.apply([["move", 0, 1], ["remove", n]]), (e) => e.edit === 1 && /no such record/.test(e.message));
assert.deepStrictEqual([db.save("dat"), db.edits(), db.canUndo, db.count], [start, [], false, n]);
console.log("edit scripts: edits(), apply(), undo, redo, the JSON form and changes() against orvdb diff agree");
