"""The page of verify, in a browser: what it shows, that nothing in a name becomes part of it, and what its
script does."""

import json
import os
import pathlib
import re
import subprocess

import pytest

from conftest import Client
from test_verify import ISSUER, TIME, UNSIGNED, copied, make_certificate, signature

HOSTILE = "<img src=x onerror=alert(1)></span></summary><script>document.title='taken'</script>&amp;\"' \u202egpj"


def encoded(text):
    return "".join(f"%{byte:02X}" for byte in text.encode())


@pytest.fixture(scope="module")
def page(tmp_path_factory):
    """The page on files with hostile names, made by one run."""
    folder = tmp_path_factory.mktemp("page")
    program = pathlib.Path(os.environ["CIFRA_PROGRAM"])
    standins = [os.environ["CIFRA_STANDIN_TRUST"], os.environ["CIFRA_STANDIN_NAMES"]]
    client = Client(folder, copied(program, folder / "bin", standins))
    der, _, _ = make_certificate(folder, "/CN=Fabrikam")
    client.write("c.der", der)
    client.write("good.js", signature(time=TIME, der="c.der"))
    client.write("a&amp;'b.js", UNSIGNED)
    client.write("evil.js", signature("800B010C", subject=f'O=B, CN="{encoded(HOSTILE).replace("%22", "%22%22")}"'))
    client.write("z.js", signature("80096010", subject="CN=Z"))
    result = client("verify", "good.js", "a&amp;'b.js", "evil.js", "z.js", "--chain", "--format", "html",
                    env={"WINEDLLOVERRIDES": "wintrust=n,b"})
    assert (result.code, result.error) == (10, "")
    return result.text


def browse(folder, html, *options):
    """The document as the browser has it after its scripts ran."""
    (folder / "page.html").write_text(html, encoding="utf-8")
    done = subprocess.run(
        ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
         f"--user-data-dir={folder}/profile", *options, "--dump-dom", f"file://{folder}/page.html"],
        capture_output=True, text=True, timeout=120, check=True)
    return done.stdout


def in_page(folder, html, script):
    """What a script added to the page, and allowed by it, leaves in the title."""
    policy = re.compile(r'<meta http-equiv="Content-Security-Policy"[^>]*>')
    tested = policy.sub("", html).replace("</body>", f"<script>{script}</script></body>")
    title = re.search(r"<title>(.*?)</title>", browse(folder, tested), re.S)[1]
    return json.loads(title.replace("&amp;", "&").replace("&lt;", "<").replace("&gt;", ">"))


SHOWN = "[...document.querySelectorAll('details.file')].filter(f => !f.hidden).map(f => " \
        "f.querySelector('summary span').textContent)"


def test_the_page_is_one_file_and_takes_nothing_from_elsewhere(page):
    policy = re.search(r'Content-Security-Policy" content="([^"]*)"', page)[1]
    assert "default-src 'none'" in policy and "unsafe" not in policy
    outside = re.sub(r"<(style|script)>.*?</\1>", "", page, flags=re.S)
    assert not re.search(r"<(link|img|iframe|object|embed|base)\b|\s(src|href|on\w+)=", re.sub(r"&lt;.*?&gt;", "", outside))


@pytest.mark.once
def test_names_stay_text(page, tmp_path):
    document = browse(tmp_path, page)
    assert "<title>Signatures</title>" in document and "<img" not in document
    texts = in_page(tmp_path, page, "document.title = JSON.stringify({images: document.images.length, "
                    "scripts: document.scripts.length, text: document.body.textContent})")
    assert (texts["images"], texts["scripts"]) == (0, 2)
    assert HOSTILE.replace("\u202e", r"\u202E") in texts["text"].replace('""', '"')
    assert "a&amp;'b.js" in texts["text"] and "\u202e" not in page


@pytest.mark.once
def test_on_paper_a_file_has_one_line(page, tmp_path):
    row = re.search(r'<details class="file" data-verdict="trusted".*?</div></details>\n', page, re.S)[0]
    (tmp_path / "long.html").write_text(page.replace(row, row.replace("<details", "<details open", 1) + row * 150), encoding="utf-8")
    subprocess.run(["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                    f"--user-data-dir={tmp_path}/profile",
                    "--no-pdf-header-footer", f"--print-to-pdf={tmp_path}/long.pdf", f"file://{tmp_path}/long.html"],
                   capture_output=True, timeout=120, check=True)
    pages = len(re.findall(rb"/Type\s*/Page\b", (tmp_path / "long.pdf").read_bytes()))
    assert 2 <= pages <= 8  # two lines for each file take twelve


@pytest.mark.once
def test_without_a_script_all_is_there(page, tmp_path):
    document = browse(tmp_path, page.replace("<script>", "<script type='none'>"))
    assert '<div id="tools" hidden="">' in document
    assert document.count('<details class="file"') == 4
    assert "Files: 4, trusted: 1, unsigned: 1, damaged: 1, revoked: 1" in document
    assert "Chain, built by cifra" in document and ISSUER in document


@pytest.mark.once
def test_the_script_searches_filters_sorts_and_unfolds(page, tmp_path):
    shown = in_page(tmp_path, page, f"""
        const shown = () => {SHOWN};
        const found = {{all: shown()}};
        const input = (id, value, event) => {{
          document.getElementById(id).value = value;
          document.getElementById(id).dispatchEvent(new Event(event));
        }};
        input("search", "FABRIKAM", "input"); found.searched = shown();
        input("search", "", "input");
        input("verdict", "damaged", "change"); found.filtered = shown();
        input("verdict", "", "change");
        document.querySelectorAll(".head button")[1].click(); found.gravest = shown();
        document.querySelectorAll(".head button")[0].click(); found.named = shown();
        document.getElementById("fold").click();
        found.open = document.querySelectorAll("details.file[open]").length;
        document.title = JSON.stringify(found);""")
    odd = "a&amp;'b.js"
    assert shown == {"all": ["good.js", odd, "evil.js", "z.js"], "searched": ["good.js"], "filtered": ["z.js"],
                     "gravest": ["z.js", "evil.js", odd, "good.js"], "named": [odd, "evil.js", "good.js", "z.js"],
                     "open": 4}
