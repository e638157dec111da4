#!/usr/bin/env python3
"""Checks that every relative link in the given Markdown pages names an existing file, and that the index docs/README.md
links to every page of docs/.   check_links.py ROOT PAGE...
"""
import os
import re
import sys

root, pages = sys.argv[1], sys.argv[2:]
dead = []
linked = set()
for page in pages:
    with open(page, encoding="utf-8") as file:
        text = re.sub(r"```.*?```", "", file.read(), flags=re.S)
    for target in re.findall(r"\]\(([^)#\s]+)(?:#[^)]*)?\)", text):
        if re.match(r"[a-z]+:", target):
            continue
        path = os.path.normpath(os.path.join(os.path.dirname(page), target))
        if not os.path.exists(path):
            dead.append(f"{page}: {target} is not there")
        if os.path.samefile(page, os.path.join(root, "docs", "README.md")):
            linked.add(path)
index = os.path.normpath(os.path.join(root, "docs", "README.md"))
for page in pages:
    path = os.path.normpath(page)
    if os.path.dirname(path) == os.path.join(os.path.normpath(root), "docs") and path != index and path not in linked:
        dead.append(f"docs/README.md does not link to {os.path.basename(path)}")
print("\n".join(dead) or f"{len(pages)} pages, every link leads somewhere")
sys.exit(bool(dead))
