#!/usr/bin/env python3
"""The benchmark corpora, generated deterministically (Python 3 standard library only).

Usage: make_corpus.py OUTDIR [--xml-mib N] [--oneline-mib N] [--json-mib N] [--dtd-mib N]
                             [--xpaths N] [--seed N] [--only xml,oneline,json,dtd,xpaths]

Files written into OUTDIR (the same options always give the same bytes):
  big.xml          a catalogue document, UTF-8, LF line ends, indented: a small internal subset,
                   namespaces, attributes, mixed content, comments, CDATA sections, processing
                   instructions, character and entity references, text in many scripts
  big.oneline.xml  the same kind of document without a single line end
  big.json         nested JSON records, pretty-printed with two spaces; big.min.json minified
  dtd.xml          a document with a sizeable internal subset: thousands of entity and
                   attribute-list declarations, entity references throughout the content
  xpaths.txt       XPath 3.1 expressions, one per line
Sizes are reached to within one record, since documents are closed properly.
"""

import argparse
import json
import os
import random

MIB = 1 << 20

WORDS = (
    "account address alpha amount batch beta brown catalog chapter city code country "
    "customer data delivery delta detail dog fox gamma invoice item lazy note number order "
    "payment pending price product quick record region release report review schedule "
    "section shipped status stock street summary supplier total update user value version "
    "warehouse lorem ipsum dolor sit amet tempor"
).split()
FOREIGN = ["Zürich", "Ærøskøbing", "São Paulo", "Kraków", "Þórshöfn", "Ελλάδα", "Москва",
           "東京", "北京市", "서울", "القاهرة", "ירושלים", "🚀", "🎉", "✓", "€ 12", "½", "→"]
REFS = ["&amp;", "&lt;", "&gt;", "&quot;", "&apos;", "&#169;", "&#xE9;", "&#x1F600;",
        "&#8364;", "&#160;"]


class Text:
    def __init__(self, rng):
        self.rng = rng

    def words(self, lo, hi):
        r = self.rng
        out = []
        for _ in range(r.randint(lo, hi)):
            x = r.random()
            if x < 0.08:
                out.append(r.choice(FOREIGN))
            elif x < 0.13:
                out.append(r.choice(REFS))
            else:
                out.append(r.choice(WORDS))
        return " ".join(out)

    def attr(self):
        return self.words(1, 3).replace("&quot;", "'")


class CatalogXML:
    """The catalogue: sections of products, notes with mixed content and nested nodes."""

    def __init__(self, seed, oneline):
        self.rng = random.Random(seed)
        self.t = Text(self.rng)
        self.oneline = oneline
        self.sku = 0

    def nl(self, depth):
        return "" if self.oneline else "\n" + "  " * depth

    def prolog(self):
        lines = [
            '<?xml version="1.0" encoding="UTF-8"?>',
            "<!DOCTYPE catalog [",
            '  <!ENTITY vendor "Xylem Corpus Works">',
            '  <!ENTITY mark "&#174;">',
            "  <!ELEMENT catalog ANY>",
            '  <!ATTLIST section id ID #IMPLIED state (open|closed) "open">',
            "  <!-- declarations the content refers to -->",
            "]>",
            '<?xml-stylesheet type="text/xsl" href="catalog.xsl"?>',
            '<catalog xmlns="urn:xylem:corpus" xmlns:m="urn:xylem:meta" version="3" xml:lang="en">',
        ]
        return ("" if self.oneline else "\n").join(lines)

    def product(self, d):
        r, t, n = self.rng, self.t, self.nl
        self.sku += 1
        s = (f'{n(d)}<m:product sku="S{self.sku:08d}" state="{r.choice(["new", "sold", "kept"])}"'
             f' rank="{r.randint(1, 5)}">'
             f"{n(d + 1)}<name>{t.words(2, 5)}</name>"
             f'{n(d + 1)}<price currency="{r.choice(["EUR", "USD", "JPY"])}">{r.randint(1, 9999)}.{r.randint(0, 99):02d}</price>'
             f'{n(d + 1)}<stock site="W{r.randint(1, 40)}" qty="{r.randint(0, 5000)}"/>')
        if r.random() < 0.4:
            s += f"{n(d + 1)}<about>"
            for _ in range(r.randint(1, 3)):
                s += f"{n(d + 2)}<p>{t.words(4, 14)} <b>{t.words(1, 3)}</b> {t.words(2, 9)}</p>"
            s += f"{n(d + 1)}</about>"
        if r.random() < 0.1:
            s += f"{n(d + 1)}<script><![CDATA[if (a < b && c > d) {{ emit('<x/>'); }}]]></script>"
        if r.random() < 0.1:
            s += f"{n(d + 1)}<!-- {t.words(3, 8).replace('&', 'and').replace('--', '-')} -->"
        if r.random() < 0.15:
            s += f"{n(d + 1)}<vendor>&vendor;&mark;</vendor>"
        return s + f"{n(d)}</m:product>"

    def tree(self, d, depth):
        r, n = self.rng, self.nl
        if depth == 0:
            return f'{n(d)}<leaf k="{r.choice(WORDS)}">{self.t.words(1, 6)}</leaf>'
        kids = "".join(self.tree(d + 1, depth - 1) for _ in range(r.randint(1, 2)))
        return f'{n(d)}<node level="{d}" note="{self.t.attr()}">{kids}{n(d)}</node>'

    def section(self, index):
        r, n = self.rng, self.nl
        s = f'{n(1)}<section id="s{index}" state="{r.choice(["open", "closed"])}">'
        for _ in range(r.randint(8, 16)):
            s += self.product(2) if r.random() < 0.75 else self.tree(2, r.randint(1, 4))
        if r.random() < 0.2:
            s += f"{n(2)}<?audit checked?>"
        return s + f"{n(1)}</section>"

    def write(self, path, mib):
        target = int(mib * MIB)
        with open(path, "w", encoding="utf-8", newline="\n") as out:
            out.write(self.prolog())
            written, index = 0, 0
            while written < target:
                index += 1
                chunk = self.section(index)
                out.write(chunk)
                written += len(chunk.encode("utf-8"))
            out.write(("" if self.oneline else "\n") + "</catalog>" + ("" if self.oneline else "\n"))


def write_dtd_heavy(path, mib, seed):
    """A document whose internal subset declares thousands of entities and attribute lists and
    whose content refers to them throughout."""
    rng = random.Random(seed)
    t = Text(rng)
    entities = 4000
    lists = 3000
    with open(path, "w", encoding="utf-8", newline="\n") as out:
        out.write('<?xml version="1.0" encoding="UTF-8"?>\n<!DOCTYPE registry [\n')
        for i in range(entities):
            kind = i % 5
            if kind == 0:
                value = t.words(1, 4).replace("&", "&#38;")
            elif kind == 1:
                value = f"&#x{rng.randint(0xA0, 0x2FFF):X};{rng.choice(WORDS)}"
            elif kind == 2 and i > 10:
                value = f"&e{rng.randrange(i - 10, i)}; {rng.choice(WORDS)}"
            elif kind == 3:
                value = f"<em>{rng.choice(WORDS)}</em> {rng.choice(WORDS)}"
            else:
                value = rng.choice(FOREIGN)
            out.write(f'  <!ENTITY e{i} "{value}">\n')
        for i in range(lists):
            out.write(f"  <!ATTLIST item{i} id ID #IMPLIED kind (a|b|c) \"a\" ref IDREF #IMPLIED"
                      f" note CDATA \"{rng.choice(WORDS)}\">\n")
            if i % 100 == 0:
                out.write(f"  <!ELEMENT item{i} (#PCDATA|em)*>\n  <!-- group {i // 100} -->\n")
        out.write('  <!NOTATION png SYSTEM "image/png">\n]>\n<registry>\n')
        target, written, n = int(mib * MIB), 0, 0
        while written < target:
            n += 1
            refs = " ".join(f"&e{rng.randrange(entities)};" for _ in range(rng.randint(1, 4)))
            a = f"&e{rng.randrange(0, entities, 5)};"  # attribute values: entities without '<'
            name = f"item{rng.randrange(lists)}"
            line = (f'  <{name} id="i{n}" kind="{rng.choice("abc")}" label="{a}">'
                    f"{t.words(2, 8)} {refs}</{name}>\n")
            out.write(line)
            written += len(line.encode("utf-8"))
        out.write("</registry>\n")


def json_record(rng, t, i):
    return {
        "id": i,
        "name": t.words(1, 4),
        "active": rng.random() < 0.7,
        "price": round(rng.uniform(0, 10000), 2),
        "tags": [rng.choice(WORDS) for _ in range(rng.randint(0, 5))],
        "place": {"city": rng.choice(FOREIGN), "zip": f"{rng.randint(1000, 99999)}",
                  "geo": [round(rng.uniform(-90, 90), 5), round(rng.uniform(-180, 180), 5)]},
        "notes": None if rng.random() < 0.3 else t.words(3, 12).replace("&", "and"),
        "history": [{"at": f"2025-{rng.randint(1, 12):02d}-{rng.randint(1, 28):02d}",
                     "qty": rng.randint(-50, 500)} for _ in range(rng.randint(0, 3))],
    }


def write_json(pretty_path, mini_path, mib, seed):
    rng = random.Random(seed)
    t = Text(rng)
    target = int(mib * MIB)
    with open(pretty_path, "w", encoding="utf-8", newline="\n") as pretty, \
            open(mini_path, "w", encoding="utf-8", newline="\n") as mini:
        pretty.write('{\n  "records": [')
        mini.write('{"records":[')
        written, i = 0, 0
        while written < target:
            record = json_record(rng, t, i)
            text = json.dumps(record, ensure_ascii=False, indent=2)
            text = ("," if i else "") + "\n    " + text.replace("\n", "\n    ")
            pretty.write(text)
            mini.write(("," if i else "") + json.dumps(record, ensure_ascii=False,
                                                       separators=(",", ":")))
            written += len(text.encode("utf-8"))
            i += 1
        pretty.write('\n  ],\n  "count": %d\n}\n' % i)
        mini.write('],"count":%d}' % i)


def write_xpaths(path, count, seed):
    rng = random.Random(seed)
    steps = ["catalog", "section", "m:product", "name", "price", "node", "leaf", "@sku", "@k",
             "text()", "node()", "*", "..", "."]
    funcs = ["count", "string-length", "normalize-space", "upper-case", "exists", "sum"]

    def path_expr(d):
        p = "/".join(rng.choice(steps) for _ in range(rng.randint(1, 4)))
        if rng.random() < 0.4 and d < 3:
            p += f"[{predicate(d + 1)}]"
        return rng.choice(["", "/", "//"]) + p

    def predicate(d):
        x = rng.random()
        if x < 0.3:
            return str(rng.randint(1, 9))
        if x < 0.6:
            return f"{path_expr(d)} = '{rng.choice(WORDS)}'"
        return f"{rng.choice(funcs)}({path_expr(d)}) > {rng.randint(0, 99)}"

    def expr():
        x = rng.random()
        if x < 0.4:
            return path_expr(0)
        if x < 0.6:
            return f"for $i in {path_expr(0)} return {rng.choice(funcs)}($i)"
        if x < 0.75:
            return f"if ({predicate(0)}) then {path_expr(0)} else ()"
        if x < 0.9:
            return f"map {{ 'a': {rng.randint(0, 9)}, 'b': [{path_expr(0)}] }}?a + {rng.randint(1, 9)}"
        return f"let $x := {rng.random():.3f} return $x * {rng.randint(2, 9)} div 2"

    with open(path, "w", encoding="utf-8", newline="\n") as out:
        for _ in range(count):
            out.write(expr() + "\n")


def main():
    p = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    p.add_argument("outdir")
    p.add_argument("--xml-mib", type=float, default=256)
    p.add_argument("--oneline-mib", type=float, default=64)
    p.add_argument("--json-mib", type=float, default=256)
    p.add_argument("--dtd-mib", type=float, default=64)
    p.add_argument("--xpaths", type=int, default=100000)
    p.add_argument("--seed", type=int, default=20261123)
    p.add_argument("--only", default="xml,oneline,json,dtd,xpaths")
    a = p.parse_args()
    only = set(a.only.split(","))
    os.makedirs(a.outdir, exist_ok=True)
    out = lambda name: os.path.join(a.outdir, name)
    if "xml" in only:
        CatalogXML(a.seed, False).write(out("big.xml"), a.xml_mib)
    if "oneline" in only:
        CatalogXML(a.seed + 1, True).write(out("big.oneline.xml"), a.oneline_mib)
    if "json" in only:
        write_json(out("big.json"), out("big.min.json"), a.json_mib, a.seed + 2)
    if "dtd" in only:
        write_dtd_heavy(out("dtd.xml"), a.dtd_mib, a.seed + 3)
    if "xpaths" in only:
        write_xpaths(out("xpaths.txt"), a.xpaths, a.seed + 4)


if __name__ == "__main__":
    main()
