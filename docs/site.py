# Joins the pages of docs/ and the reference that Doxygen makes to one site. scripts/docs calls it three times:
#   site.py prepare OUT   pages without content for Doxygen, and the navigation: the lists of docs/README.md
#   site.py finish OUT    the pages' content, as cmark-gfm renders it, with links between pages and into the reference
#   site.py check OUT     every link of the site leads to a file and to a place in it
import html
import pathlib
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree as xml
from html.parser import HTMLParser

START = pathlib.Path("docs/README.md")
OUTSIDE = ["README.md", "README.ja.md", "CHANGELOG.md", "CONTRIBUTING.md", "SECURITY.md", "examples/README.md"]


def fail(sentence):
    sys.exit(f"docs: {sentence}")


def all_pages():
    return [pathlib.Path(p) for p in OUTSIDE] + sorted(pathlib.Path("docs").rglob("*.md"))


def page_id(path):
    """docs/formats/text.md is formats-text, README.ja.md is readme-ja."""
    parts = path.with_suffix("").parts
    return "-".join(parts[1:] if parts[0] == "docs" else parts).lower().replace(".", "-")


def source_of(path):
    """The Markdown of a page; a line for a page that is not always there counts when it is."""
    def conditional(match):
        return match[2] + "\n" if (path.parent / match[1]).exists() else ""
    return re.sub(r"^<!-- with (\S+): (.*) -->\n", conditional, path.read_text(), flags=re.M)


def title_of(path):
    return re.search(r"^# (.*)$", path.read_text(), flags=re.M)[1]


def resolved(page, target):
    """The file that a link on a page means, from the root of the project."""
    root = pathlib.Path.cwd()
    return (root / page.parent / target).resolve().relative_to(root)


def navigation():
    """Headings of the start page with the entries of their lists: (heading, [(title, page), ...])."""
    groups = []
    for line in source_of(START).splitlines():
        if line.startswith("## "):
            groups.append((line[3:], []))
        elif entry := re.match(r"- \[(.*?)\]\((\S+\.md)\)", line):
            groups[-1][1].append((entry[1], resolved(START, entry[2])))
    listed = {page for _, entries in groups for _, page in entries} | {START}
    for page in all_pages():
        if page not in listed:
            fail(f"{START} does not list {page}")
    return groups


def write_layout(out):
    layout = xml.parse(out / "layout.xml")
    index = layout.getroot().find("navindex")
    reference = [tab for tab in index if tab.get("type") in ("namespaces", "classes", "files", "examples")]
    index[:] = [tab for tab in index if tab.get("type") == "mainpage"]
    index[0].set("title", "Start")
    for heading, entries in navigation():
        group = xml.SubElement(index, "tab", type="usergroup", visible="yes", title=heading, url="[none]")
        for title, page in entries:
            xml.SubElement(group, "tab", type="user", visible="yes", title=title, url=f"@ref {page_id(page)}")
    group = xml.SubElement(index, "tab", type="usergroup", visible="yes", title="Every declaration", url="[none]")
    group.extend(reference)
    layout.write(out / "layout.xml", encoding="utf-8", xml_declaration=True)


def prepare(out):
    write_layout(out)
    with open(out / "pages.dox", "w") as pages:
        for page in all_pages():
            kind = "mainpage" if page == START else f"page {page_id(page)}"
            pages.write(f"/** @{kind} {title_of(page)}\n * content\n */\n")
        for example in sorted(pathlib.Path("examples").rglob("*.cpp")):
            pages.write(f"/** @example {example.name}\n */\n")


def places_in_reference(out):
    """Where the reference describes a name or a header."""
    places = {}
    for compound in xml.parse(out / "reference.tag").getroot():
        name, kind = compound.findtext("name"), compound.get("kind")
        if kind == "file":
            path = (compound.findtext("path") or "").rpartition("headers/")[2] + name
            places[path] = places[path.removeprefix("KvxDevCommon01/")] = compound.findtext("filename")
            continue
        if kind not in ("class", "struct", "namespace"):
            continue
        if kind != "namespace":
            places.setdefault(name, compound.findtext("filename"))
        for member in compound.iter("member"):
            place = member.findtext("anchorfile") + "#" + member.findtext("anchor")
            places.setdefault(f"{name}::{member.findtext('name')}", place)
    return places


def slug(text):
    return re.sub(r"[^\w\- ]", "", html.unescape(text).lower()).replace(" ", "-")


def with_ids(body):
    """Headings get the names by which links know them; long pages a list of them."""
    seen, headings = {}, []

    def named(match):
        plain = re.sub("<.*?>", "", match[2])
        name = slug(plain)
        seen[name] = seen.get(name, -1) + 1
        name += f"-{seen[name]}" if seen[name] else ""
        if match[1] == "2":
            headings.append(f'<li><a href="#{name}">{plain}</a></li>')
        return f'<h{match[1]} id="{name}">{match[2]}</h{match[1]}>'
    body = re.sub(r"<h([2-6])>(.*?)</h\1>", named, body, flags=re.S)
    return (f'<ul class="kvx-contents">{"".join(headings)}</ul>\n' if len(headings) > 3 else "") + body


def rendered(page, out, places):
    command = ["cmark-gfm", "--unsafe", "-e", "table", "-e", "strikethrough"]
    body = subprocess.run(command, input=source_of(page), text=True, check=True, capture_output=True).stdout
    body = with_ids(re.sub(r"<h1>.*?</h1>\s*|<!--.*?-->\s*", "", body, flags=re.S))

    def link(match):
        target, _, place = html.unescape(match[2]).partition("#")
        if "://" in target or not target:
            return match[0]
        path = resolved(page, target)
        if not path.is_file():
            fail(f"{page} leads nowhere: {target}")
        if path == START:
            target = "index.html"
        elif path.suffix == ".md":
            target = page_id(path) + ".html"
        elif path.parts[0] == "examples" and path.suffix == ".cpp":
            target = path.stem.replace("_", "__") + "_8cpp-example.html"
        else:
            target = "files/" + "-".join(path.parts) + ("" if path.suffix == ".png" else ".txt")
            (out / "html/files").mkdir(exist_ok=True)
            shutil.copy(path, out / "html" / target)
        return f'{match[1]}="{target}{"#" + place if place else ""}"'
    body = re.sub(r'\b(href|src)="([^"]*)"', link, body)

    def refer(match):
        place = places.get(html.unescape(match[0]))
        return f'<a href="{place}">{match[0]}</a>' if place else match[0]

    def refer_in(match):
        return match[1] + re.sub(r"[\w/.:]+", refer, match[2]) + match[3]
    # In code, and in the cells of tables, where they stand without marks.
    body = re.sub(r'(<code(?: class="language-cpp")?>)([^<]*)(</code>)', refer_in, body)
    return re.sub(r"(<td>)([^<]*\b(?:kvx::|C[A-Z])[^<]*)(</td>)", refer_in, body)


def finish(out):
    places = places_in_reference(out)
    for page in all_pages():
        name = "index" if page == START else page_id(page)
        file = out / "html" / f"{name}.html"
        text = file.read_text()
        content = f'<div class="kvx-page">{rendered(page, out, places)}</div>'
        text, found = re.subn(r"<p *>content\s*</p>", lambda _: content, text)
        if found != 1:
            fail(f"Doxygen made {found} places for {page}")
        file.write_text(text)
    # Doxygen announces nested classes also where all of them are private and it shows none.
    for file in (out / "html").glob("class*.html"):
        text = file.read_text()
        if 'name="nested-classes"' not in text:
            file.write_text(text.replace('<a href="#nested-classes">Classes</a> &#124;', ""))


class Links(HTMLParser):
    def __init__(self, text):
        super().__init__()
        self.names, self.targets = set(), []
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        given = dict(attributes)
        self.names |= {given[key] for key in ("id", "name") if given.get(key)}
        self.targets += [given[key] for key in ("href", "src") if given.get(key)]


def check(out):
    site = out / "html"
    pages = {file.name: Links(file.read_text()) for file in site.glob("*.html")}
    links = [(name, target) for name, page in pages.items() for target in page.targets]
    navigation_tree = (site / "navtreedata.js").read_text().partition("var NAVTREEINDEX")[0]
    links += [("the navigation", target) for target in re.findall(r'"([\w.-]+\.html(?:#\w+)?)"', navigation_tree)]
    broken = set()
    for name, target in links:
        if re.match(r"[a-z]+:", target):
            continue
        file, _, place = target.partition("#")
        file = file or name
        there = place in pages[file].names | {""} if file in pages else not place and (site / file).exists()
        if not there:
            broken.add(f"{name} leads nowhere: {target}")
    if broken:
        fail("\ndocs: ".join(sorted(broken)))
    print(f"docs: {len(pages)} pages, {len(links)} links")


{"prepare": prepare, "finish": finish, "check": check}[sys.argv[1]](pathlib.Path(sys.argv[2]))
