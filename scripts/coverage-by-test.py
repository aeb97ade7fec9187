"""Helper of coverage-by-test.sh.

reach ROOT: reads gcov JSON documents on stdin, prints each product line ("L file:line") and
branch ("B file:line:n") they show reached, product files being those under ROOT outside
tests/, bench/ and build directories.
cover DIR: reads DIR/index and DIR/<n>.reach, prints the cases a greedy cover does not need.
"""
import json
import os
import sys


def product(root, path):
    path = os.path.normpath(os.path.join(root, path))
    rel = os.path.relpath(path, root)
    top = rel.split(os.sep)[0]
    return rel if top in {"app", "camera", "frame", "measure", "platform", "view"} else None


def reach(root):
    seen = set()
    decoder = json.JSONDecoder()
    text = sys.stdin.read()
    at = 0
    while True:
        while at < len(text) and text[at].isspace():
            at += 1
        if at >= len(text):
            break
        doc, at = decoder.raw_decode(text, at)
        cwd = doc.get("current_working_directory", root)
        for f in doc.get("files", []):
            rel = product(root, os.path.join(cwd, f["file"]))
            if not rel:
                continue
            for line in f.get("lines", []):
                if line["count"] > 0:
                    seen.add(f"L {rel}:{line['line_number']}")
                for i, b in enumerate(line.get("branches", [])):
                    if b["count"] > 0:
                        seen.add(f"B {rel}:{line['line_number']}:{i}")
    sys.stdout.write("".join(s + "\n" for s in sorted(seen)))


def cover(folder):
    cases = {}
    for entry in open(os.path.join(folder, "index")):
        n, name = entry.split(" ", 1)
        with open(os.path.join(folder, n + ".reach")) as f:
            cases[name.strip()] = set(f.read().split("\n")) - {""}
    union = set().union(*cases.values())
    lines = sum(1 for s in union if s.startswith("L"))
    print(f"{len(cases)} cases reach {lines} product lines and {len(union) - lines} branches together")
    covered, needed = set(), []
    left = dict(cases)
    while left:
        name, gain = max(((k, len(v - covered)) for k, v in left.items()), key=lambda kv: kv[1])
        if gain == 0:
            break
        needed.append((name, gain))
        covered |= left.pop(name)
    print(f"{len(needed)} cases cover all of it; the other {len(left)} add nothing to them:")
    for name in sorted(left):
        print(f"  {name}")


if __name__ == "__main__":
    if sys.argv[1] == "reach":
        reach(sys.argv[2])
    else:
        cover(sys.argv[2])
