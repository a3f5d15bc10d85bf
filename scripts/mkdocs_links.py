"""Hooks of MkDocs: the pages keep their links between files of the source tree.

The documents are read as files, too, so they link files beside the folder docs ("../lab/README.md"). The site
contains each of these files under its path in the source tree, and the links are changed accordingly. If
doxygen has been run, its pages are part of the site (scripts/documents).
"""

import os
import re
from pathlib import Path

from mkdocs.structure.files import File
from mkdocs.structure.nav import Link

_LINK = re.compile(r"(\]\()([^)#:\s]+)(?=[)#])")
_FENCE = re.compile(r"^(```.*?^```$)", re.MULTILINE | re.DOTALL)
_REFERENCE = "C++ classes"


def _prose(markdown):
    """Splits a page; every second part is a block of code."""
    return _FENCE.split(markdown)


def _linked(source):
    """Yields the files that a page links."""
    for part in _prose(source.read_text(encoding="utf-8"))[::2]:
        for match in _LINK.finditer(part):
            yield Path(os.path.normpath(source.parent / match[2]))


def _place(path, config):
    """Returns the place of a file of the source tree in the site."""
    docs = Path(config["docs_dir"])
    return path.relative_to(docs) if docs in path.parents else path.relative_to(docs.parent)


def on_files(files, config):
    """Adds the files outside docs that the pages link, and those that doxygen has written."""
    docs = Path(config["docs_dir"])
    waiting = [docs / file.src_path for file in files if file.is_documentation_page()]
    seen = set()
    while waiting:
        for path in _linked(waiting.pop()):
            if path in seen or docs in path.parents or not path.is_file():
                continue
            seen.add(path)
            files.append(File(str(_place(path, config)), str(docs.parent), config["site_dir"],
                              config["use_directory_urls"]))
            if path.suffix == ".md":
                waiting.append(path)
    classes = os.environ.get("OBVISTA_DOXYGEN")
    if classes:
        for path in sorted(Path(classes).rglob("*")):
            if path.is_file():
                place = Path("classes") / path.relative_to(classes)
                file = File(str(place), "", config["site_dir"], config["use_directory_urls"])
                file.abs_src_path = str(path)
                files.append(file)
    return files


def on_nav(nav, config, files):
    """Adds the pages of doxygen to the reference."""
    if files.get_file_from_path("classes/index.html"):
        for section in nav.items:
            if section.title == "Reference":
                section.children.append(Link(_REFERENCE, "classes/index.html"))
    return nav


def on_page_markdown(markdown, page, config, files):
    """Makes the links those of the site."""
    source = Path(page.file.abs_src_path)
    here = Path(page.file.src_path).parent

    def changed(match):
        target = Path(os.path.normpath(source.parent / match[2]))
        if not target.is_file():
            return match[0]
        return match[1] + os.path.relpath(_place(target, config), here)

    parts = _prose(markdown)
    parts[::2] = [_LINK.sub(changed, part) for part in parts[::2]]
    return "".join(parts)
