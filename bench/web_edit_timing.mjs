// What one edit costs in the page's module, with what the page shows after
// it: the edit, lint of the whole file, and changes() against the opened
// database. For the sample and for 10,000 models made from it (each name
// made unique); the median of 30 of each edit kind, and the slowest.
// usage: node bench/web_edit_timing.mjs WEB_DIR MODELS.json
import { readFileSync } from "fs";
import { createRequire } from "module";
import { resolve } from "path";
import { pathToFileURL } from "url";

const [web, modelsPath] = process.argv.slice(2);
globalThis.createOrvxModule = createRequire(import.meta.url)(resolve(web, "orvx_wasm.js"));
const { default: orvx } = await import(pathToFileURL(resolve(web, "orvx.js")));
await orvx.ready;

const sample = JSON.parse(readFileSync(modelsPath, "utf8")).models;
const big = Array.from({ length: 10000 }, (_, i) => {
  const m = sample[i % sample.length];
  return { ...m, ModelName: `${m.ModelName} #${String(i).padStart(5, "0")}` };
});
const median = (a) => [...a].sort((x, y) => x - y)[a.length >> 1];

for (const [label, models] of [["sample", sample], ["10,000 models", big]]) {
  const bytes = Buffer.from(JSON.stringify({ models }));
  let t0 = performance.now();
  const db = orvx.open(bytes);
  const open = performance.now() - t0;
  t0 = performance.now();
  db.lint();
  db.changes();
  const first = performance.now() - t0;
  console.log(`${label}: ${db.count} records, open ${open.toFixed(1)} ms, first lint + changes ${first.toFixed(1)} ms`);
  const n = db.count;
  const kinds = {
    set: (k) => db.set(k % n, "VenderID", k % 3),
    rename: (k) => db.set(k % n, "ModelName", `Renamed ${k}`),
    setFlag: (k) => db.setFlag(k % n, "IsColorPrinter", k % 2 === 0),
    sizeList: (k) => db.set(k % n, "InTraySPSZSizeList", [{ tray: 1, sizes: [1, 2, k % 30] }]),
    insert: (k) => db.insert(k % n, db.record((k * 7) % n).fields),
    move: (k) => db.move(k % n, (k * 13) % n),
    undo: () => db.undo(),
  };
  for (const [kind, edit] of Object.entries(kinds)) {
    const times = [], parts = [];
    for (let k = 0; k < 30; ++k) {
      const a = performance.now();
      edit(k);
      const b = performance.now();
      db.lint();
      const c = performance.now();
      db.changes();
      const d = performance.now();
      times.push(d - a);
      parts.push([b - a, c - b, d - c]);
    }
    const part = (i) => median(parts.map((p) => p[i])).toFixed(1);
    console.log(`  ${kind.padEnd(8)} edit + lint + changes: median ${median(times).toFixed(1)} ms, max ${Math.max(...times).toFixed(1)} ms` +
                ` (edit ${part(0)}, lint ${part(1)}, changes ${part(2)})`);
  }
  const t = performance.now();
  db.records();
  console.log(`  records() after an edit: ${(performance.now() - t).toFixed(1)} ms; save("dat") ${time(() => db.save("dat"))} ms`);
}

function time(fn) {
  const t = performance.now();
  fn();
  return (performance.now() - t).toFixed(1);
}
