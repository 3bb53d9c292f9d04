#!/usr/bin/env python3
"""One editor, every face: seeded random edit scripts (every field kind, the
name, flags, size lists, inserts, removes, moves) applied through the Python
package (the C interface over the library) and, by hand, to the exported
JSON followed by `orvdb build` give byte-identical databases; and through
the page's module when the wasm preset is built. Refused edits change
nothing and say what build says of the same value.

The page test runs the first of the same scripts through window.orvx in
the browser.

usage: edit_faces.py ORVDB ORVDB.dat WEB_DIR   (environment: ORVX_LIBRARY)"""
import json
import os
import subprocess
import sys
import tempfile

from edit_scripts import scripts

orvdb, db_path, web = sys.argv[1:4]
scripts, refused = scripts(orvdb, db_path, 30, 35)
work = tempfile.mkdtemp()

module = os.path.join(os.path.dirname(os.path.abspath(__file__)), "web_edits.mjs")
if os.path.exists(os.path.join(web, "orvx_wasm.js")):
    listed = os.path.join(work, "scripts.json")
    with open(listed, "w", encoding="utf-8") as f:
        json.dump([[script, expected.hex()] for script, expected in scripts], f)
    subprocess.run(["node", module, web, db_path, orvdb, listed], check=True,
                   env={**os.environ, "NODE_PATH": "/usr/share/nodejs"})
    faces = "Python, build and the page's module"
else:
    faces = f"Python and build (no orvx_wasm.js in {web}: the module's face left out)"
print(f"{len(scripts)} scripts, {sum(map(len, (s for s, _ in scripts)))} edits, {refused} refused: {faces} agree")
