"""Writes the Debian changelog of the packages from CHANGELOG.md: one entry per
version heading ("## 0.2.0 - 2026-11-23"), its sections and items rewrapped to
80 columns. "## Unreleased" is the entry of the version being built unless
that version has a heading of its own; its date is SOURCE_DATE_EPOCH, or now.

Usage: changelog.py CHANGELOG.md VERSION MAINTAINER OUTPUT"""
import datetime
import email.utils
import os
import re
import sys
import textwrap


def entries(lines, version):
    """(version, date or None, [(kind, indent, text)]) for each version heading."""
    found, current = [], None
    for line in lines:
        heading = re.match(r"## +(\S+)(?: +- +(\d{4}-\d{2}-\d{2}))?\s*$", line)
        if heading:
            current = (heading[1], heading[2], [])
            found.append(current)
        elif current is None or not line.strip():
            if current and current[2] and current[2][-1][0] != "break":
                current[2].append(("break", 0, ""))
        elif line.startswith("### "):
            current[2].append(("section", 0, line[4:].strip()))
        elif re.match(r" *[-*] ", line):
            indent = len(line) - len(line.lstrip())
            current[2].append(("item", indent, line.strip()[2:]))
        elif current[2] and current[2][-1][0] in ("item", "text"):
            kind, indent, text = current[2][-1]
            current[2][-1] = (kind, indent, text + " " + line.strip())
        else:
            current[2].append(("text", 0, line.strip()))
    named = {v for v, _, _ in found}
    result = []
    for v, date, body in found:
        if v.lower() == "unreleased":
            if version in named:
                continue
            v = version
        result.append((v, date, body))
    return result


def render(entry, maintainer):
    version, date, body = entry
    if date:
        when = datetime.datetime.strptime(date, "%Y-%m-%d").replace(tzinfo=datetime.timezone.utc)
    else:
        epoch = os.environ.get("SOURCE_DATE_EPOCH")
        when = datetime.datetime.fromtimestamp(int(epoch) if epoch else datetime.datetime.now().timestamp(),
                                               datetime.timezone.utc)
    out = [f"orvx ({version}) unstable; urgency=medium", ""]
    for kind, indent, text in body:
        if kind == "break":
            continue
        if kind == "section":
            if len(out) > 2:
                out.append("")
            out.append(f"  {text}:")
            continue
        first = "  " + " " * indent + ("* " if kind == "item" and indent == 0 else "- " if kind == "item" else "")
        rest = " " * len(first)
        out += textwrap.wrap(text, 80, initial_indent=first, subsequent_indent=rest,
                             break_long_words=False, break_on_hyphens=False)
    out += ["", f" -- {maintainer}  {email.utils.format_datetime(when)}", ""]
    return "\n".join(out)


def main(source, version, maintainer, output):
    with open(source, encoding="utf-8") as f:
        found = entries(f.read().splitlines(), version)
    if not found or found[0][0] != version:
        sys.exit(f"changelog.py: {source} has no entry for {version} (nor an Unreleased one) at the top")
    with open(output, "w", encoding="utf-8") as f:
        f.write("\n".join(render(e, maintainer) for e in found))


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(__doc__.rsplit("\n\n", 1)[1])
    main(*sys.argv[1:])
