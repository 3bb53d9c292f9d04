#!/usr/bin/env python3
"""The library's layers, read from the #include lines.

Fails when a folder of src/ (or a public header, counted with the folder that
implements it) includes one on a higher row of LAYERS or another folder of its
own row, when headers include each other in a circle, and when a face (the
tool, the page's shim, the benchmarks, the fuzz targets) includes anything but
public headers, calls orvx::detail or links the library's inside.

Usage: scripts/check-layers.py [SOURCE_DIR]   (default: this checkout)
"""
import re
import sys
from pathlib import Path

# Low to high. A folder may include its own files and those of lower rows;
# folders on one row are independent of each other.
LAYERS = [
    ["text"],
    ["os"],
    ["files"],
    ["framework"],
    ["record"],
    ["model_db", "picture"],
    ["attach", "registry"],
    ["comm_config", "supported_models"],
    ["c_api"],
]
RANK = {folder: row for row, folders in enumerate(LAYERS) for folder in folders}

# Each public header sits with the folder that implements it.
PUBLIC = {
    "export.h": "text", "version.h": "text", "status.h": "text", "text.h": "text", "json_reader.h": "text",
    "whole_file.h": "files",
    "afx_types.h": "framework", "afx_object.h": "framework", "afx_string.h": "framework",
    "afx_coll.h": "framework", "afx_file.h": "framework", "afx_host.h": "framework",
    "prn_static_info.h": "record", "record_fields.h": "record", "size_list.h": "record",
    "flags.inc": "record", "picture_rules.inc": "record", "record_json.h": "record",
    "database.h": "model_db", "db_form.h": "model_db",
    "picture.h": "picture", "picture_trace.h": "picture", "picture_values.h": "picture",
    "model_db.h": "attach",
    "afx_registry.h": "registry", "registry_check.h": "registry",
    "afx_comm.h": "comm_config", "comm_config.h": "comm_config", "comm_store.h": "comm_config",
    "supported_model.h": "supported_models",
    "orvx.h": "c_api",
}

FACES = ["tools", "web/shim", "bench", "fuzz"]
FACE_BUILDS = ["tools", "web", "bench", "fuzz"]
# Where a face's own headers are found (its folder comes first).
FACE_PATH = ["tools/orvdb", "web/shim", "tests/support"]
SOURCES = {".h", ".hpp", ".inc", ".c", ".cpp"}
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.M)
DETAIL = re.compile(r"\borvx::detail\b|\busing\s+namespace\s+orvx::detail\b")
INSIDE_LINK = re.compile(r"\borvx_internal\b|\borvx_objects\b|PROJECT_SOURCE_DIR\}/src\b")


def sources(root, folder):
    return sorted(p for p in (root / folder).rglob("*") if p.suffix in SOURCES and p.is_file())


def includes(path):
    return INCLUDE.findall(path.read_text(encoding="utf-8", errors="replace"))


def library_graph(root, problems):
    """Edges (from file, to file, from folder, to folder) among the library's files."""
    edges = []
    files = [(p, p.relative_to(root / "src").parts[0]) for p in sources(root, "src") if len(p.relative_to(root / "src").parts) > 1]
    for header in sources(root, "include/orvx"):
        if header.name not in PUBLIC:
            problems.append(f"include/orvx/{header.name}: a public header on no layer (add it to PUBLIC)")
            continue
        files.append((header, PUBLIC[header.name]))
    for path, folder in files:
        if folder not in RANK:
            problems.append(f"{path.relative_to(root)}: src/{folder} is on no layer (add it to LAYERS)")
            continue
        for name in includes(path):
            if name.startswith("orvx/"):
                target, to = root / "include" / name, PUBLIC.get(name[5:])
            else:
                target, to = root / "src" / name, name.split("/")[0]
            if to is None or not (target.is_file() or name == "orvx/version.h"):
                problems.append(f"{path.relative_to(root)}: includes \"{name}\", which is no header of the library")
                continue
            edges.append((path.relative_to(root), target.relative_to(root), folder, to))
    return edges


def upward(edges):
    return [e for e in edges if e[2] != e[3] and (e[3] not in RANK or RANK[e[3]] >= RANK[e[2]])]


def circles(graph):
    """The strongly connected parts of more than one node (Tarjan, iterative)."""
    index, low, stack, on, found, counter = {}, {}, [], set(), [], [0]
    for start in sorted(graph):
        if start in index:
            continue
        work = [(start, iter(sorted(graph.get(start, ()))))]
        index[start] = low[start] = counter[0]
        counter[0] += 1
        stack.append(start)
        on.add(start)
        while work:
            node, it = work[-1]
            child = next(it, None)
            if child is None:
                work.pop()
                if work:
                    low[work[-1][0]] = min(low[work[-1][0]], low[node])
                if low[node] == index[node]:
                    part = []
                    while True:
                        n = stack.pop()
                        on.discard(n)
                        part.append(n)
                        if n == node:
                            break
                    if len(part) > 1:
                        found.append(sorted(part))
            elif child not in index:
                index[child] = low[child] = counter[0]
                counter[0] += 1
                stack.append(child)
                on.add(child)
                work.append((child, iter(sorted(graph.get(child, ())))))
            elif child in on:
                low[node] = min(low[node], index[child])
    return found


def graph_of(pairs):
    graph = {}
    for a, b in pairs:
        if a != b:
            graph.setdefault(a, set()).add(b)
    return graph


def check_faces(root, problems):
    for face in FACES:
        for path in sources(root, face):
            rel = path.relative_to(root)
            text = path.read_text(encoding="utf-8", errors="replace")
            if DETAIL.search(text):
                problems.append(f"{rel}: calls orvx::detail, the library's inside")
            for name in includes(path):
                if name.startswith("orvx/"):
                    if not ((root / "include" / name).is_file() or name == "orvx/version.h"):
                        problems.append(f"{rel}: includes \"{name}\", which is no public header")
                    continue
                own = [path.parent / name] + [root / d / name for d in FACE_PATH]
                if not any(p.is_file() for p in own) and (root / "src" / name).is_file():
                    problems.append(f"{rel}: includes \"{name}\" from the library's inside")
    for face in FACE_BUILDS:
        cmake = root / face / "CMakeLists.txt"
        for n, line in enumerate(cmake.read_text(encoding="utf-8").splitlines(), 1):
            if INSIDE_LINK.search(line.split("#")[0]):
                problems.append(f"{cmake.relative_to(root)}:{n}: a face builds on the library's inside")


def main():
    root = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).resolve().parent.parent)
    problems = []
    edges = library_graph(root, problems)
    for src, dst, a, b in upward(edges):
        where = "its own row" if RANK.get(a) == RANK.get(b) else "a higher layer"
        problems.append(f"{src}: includes {dst} ({a} -> {b}, {where})")
    folder_circles = circles(graph_of((a, b) for _, _, a, b in edges))
    file_circles = circles(graph_of((str(s), str(d)) for s, d, _, _ in edges))
    for part in folder_circles:
        problems.append("folders include each other in a circle: " + ", ".join(part))
    for part in file_circles:
        problems.append("headers include each other in a circle: " + ", ".join(part))
    check_faces(root, problems)
    for p in problems:
        print(p)
    folder_edges = {(a, b) for _, _, a, b in edges if a != b}
    print(f"{len(edges)} includes, {len(folder_edges)} edges between folders, "
          f"{len(upward(edges))} upward, {len(folder_circles) + len(file_circles)} circles; "
          f"{len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
