#!/usr/bin/env python3
"""Checks that every relative link in the given Markdown pages names an existing file and, in a page, an existing heading, and
that the index docs/README.md links to every page of docs/.   check_links.py ROOT PAGE...
"""
import os
import re
import sys


def prose(page):
    """The page without its blocks of code."""
    with open(page, encoding="utf-8") as file:
        return re.sub(r"```.*?```", "", file.read(), flags=re.S)


def anchors(page):
    """The fragments that lead to the headings of a page: lower case, letters, digits, - and _, a - for a blank."""
    headings = re.findall(r"^#+ (.*)$", prose(page), flags=re.M)
    return {re.sub(r"[^\w\- ]", "", heading.strip().lower()).replace(" ", "-") for heading in headings}


root, pages = sys.argv[1], sys.argv[2:]
index = os.path.normpath(os.path.join(root, "docs", "README.md"))
dead = []
linked = set()
for page in pages:
    for target, fragment in re.findall(r"\]\(([^)#\s]*)(?:#([^)]*))?\)", prose(page)):
        if re.match(r"[a-z]+:", target):
            continue
        path = os.path.normpath(os.path.join(os.path.dirname(page), target)) if target else os.path.normpath(page)
        if not os.path.exists(path):
            dead.append(f"{page}: {target} is not there")
        elif fragment and path.endswith(".md") and fragment not in anchors(path):
            dead.append(f"{page}: {target} has no heading #{fragment}")
        if os.path.normpath(page) == index:
            linked.add(path)
for page in map(os.path.normpath, pages):
    if os.path.dirname(page) == os.path.dirname(index) and page != index and page not in linked:
        dead.append(f"docs/README.md does not link to {os.path.basename(page)}")
print("\n".join(dead) or f"{len(pages)} pages, every link leads somewhere")
sys.exit(bool(dead))
