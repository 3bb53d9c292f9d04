// The page's module as a face of the picture test: reads lines of
// {"model", "request"} on standard input, looks the model up in the database
// the module opened, and writes the answer to the request on that record,
// with the lookup's record and match as eval gives them, or {"error"}.
// usage: node web_face.mjs WEB_DIR ORVDB.dat
import { readFileSync } from "fs";
import { createRequire } from "module";
import { resolve } from "path";
import { pathToFileURL } from "url";

const [web, dbPath] = process.argv.slice(2);
globalThis.createOrvxModule = createRequire(import.meta.url)(resolve(web, "orvx_wasm.js"));
const { default: orvx } = await import(pathToFileURL(resolve(web, "orvx.js")));
await orvx.ready;
const db = orvx.open(readFileSync(dbPath));
const out = readFileSync(0, "utf8").split("\n").filter(Boolean).map((line) => {
  const { model, request } = JSON.parse(line);
  try {
    const found = db.lookup(model);
    const { pictureId, rule, ...rest } = db.picture(found.index, request);
    return JSON.stringify({ pictureId, rule, model: found.modelName, index: found.index, match: found.match, ...rest });
  } catch (e) {
    return JSON.stringify({ error: e.message });
  }
});
process.stdout.write(out.join("\n") + "\n");
