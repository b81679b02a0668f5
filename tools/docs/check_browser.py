#!/usr/bin/env python3
"""Looks at the site in a headless Chromium.

usage: check_browser.py CHROMIUM DIRECTORY SCREENSHOTS

The search has to find CPPoolString and lead to its page. Some pages are loaded in the width of a phone and of a desktop: they have to
have their title and text, and must not be wider than the window. SCREENSHOTS gets a picture of each.
"""
import functools
import http.server
import sys
import threading
from pathlib import Path

from browser import Browser, BrowserError

WIDTHS = {"phone": (390, 844), "desktop": (1440, 900)}
PAGES = {
    "index": "Documentation",
    "page_getting_started": "Getting started",
    "page_strings_and_the_pool": "Strings and the pool",
    "page_architecture": "Architecture",
    "page_kept_behaviours": "Kept behaviours",
    "classORVA_1_1String_1_1CPPoolString": "CPPoolString",
}
WANTED = "CPPoolString"
PAGE = "classORVA_1_1String_1_1CPPoolString.html"

# The results stand in a frame, as links whose text is the name.
RESULTS = """(() => {
    const frame = document.getElementById('MSearchResults');
    const page = frame && frame.contentDocument;
    return page ? [...page.querySelectorAll('.SRResult')]
        .filter(result => result.style.display !== 'none' && result.getClientRects().length)
        .map(result => [result.querySelector('.SRSymbol').textContent,
                        [...result.querySelectorAll('a[href]')].map(link => link.getAttribute('href')).join(' ')]) : [];
})()"""


class Quiet(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *_):
        pass


def check_search(browser, site, screenshots):
    """The faults of the search."""
    browser.open(site + "/index.html", *WIDTHS["desktop"])
    browser.until("document.readyState === 'complete' && typeof searchBox !== 'undefined'")
    browser.value("document.getElementById('MSearchField').focus()")
    browser.type(WANTED)
    found = []
    if browser.until(f"{RESULTS}.length > 0"):
        found = browser.value(RESULTS)
    browser.screenshot(screenshots / "search.png")
    print(f"search for {WANTED}: {len(found)} results")
    if not any(name == WANTED and PAGE in links for name, links in found):
        return [f"the search does not find {WANTED}: {found[:5]}"]
    browser.open(f"{site}/{PAGE}", *WIDTHS["desktop"])
    if WANTED not in browser.value("document.title"):
        return [f"{PAGE} is not the page of {WANTED}"]
    # What its header says at the top has to be on the page too.
    text = browser.value("document.querySelector('.contents').innerText")
    return [] if "Thread-safety" in text else [f"{PAGE} does not tell about thread-safety"]


def check_page(browser, site, page, title, name, size, screenshots):
    """The faults of a page in one width."""
    browser.open(f"{site}/{page}.html", *size)
    browser.until("document.readyState === 'complete' && document.querySelector('#nav-tree #selected') !== null")
    browser.screenshot(screenshots / f"{page}-{name}.png")
    faults = []
    if title not in browser.value("(document.querySelector('.headertitle .title') || document.body).textContent"):
        faults.append(f"{page}: the title is not {title}")
    if browser.value("document.querySelector('.contents').innerText.length") < 500:
        faults.append(f"{page}: there is no text")
    width = browser.value("Math.max(document.documentElement.scrollWidth, document.getElementById('doc-content').scrollWidth)")
    if width > size[0]:
        faults.append(f"{page}: {width} pixels wide in a window of {size[0]}")
    if not browser.value("document.querySelector('#nav-tree #selected') !== null"):
        faults.append(f"{page}: it is not in the navigation")
    broken = browser.value("[...document.images].filter(i => i.complete && !i.naturalWidth).map(i => i.src)")
    faults += [f"{page}: picture {source} is broken" for source in broken]
    return faults


def main():
    program, root, screenshots = sys.argv[1], sys.argv[2], Path(sys.argv[3])
    screenshots.mkdir(parents=True, exist_ok=True)
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(Quiet, directory=root))
    threading.Thread(target=server.serve_forever, daemon=True).start()
    site = f"http://127.0.0.1:{server.server_port}"
    browser = Browser(program)
    try:
        faults = check_search(browser, site, screenshots)
        for page, title in PAGES.items():
            for name, size in WIDTHS.items():
                faults += check_page(browser, site, page, title, name, size, screenshots)
    except BrowserError as error:
        faults = [str(error)]
    finally:
        browser.close()
    for fault in faults:
        print(fault)
    print(f"{len(PAGES) * len(WIDTHS)} pages and the search, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
