#!/usr/bin/env python3
"""Long requests through `xylem lsp` on a generated document big enough that a full token
request is still running when the next messages arrive (its $/progress begin is the sign):

  cancel    $/cancelRequest of a running full request answers RequestCancelled, and a delta
            request sent meanwhile is answered;
  edit      a didChange while a full request runs: the full answer is the tokens of the text it
            was asked for (same as a second document holding that text), and a delta on top of
            it, applied to it, equals a fresh full result;
  progress  a client announcing window.workDoneProgress gets window/workDoneProgress/create,
            then one begin, reports with rising percentages, one end, then the answer.
"""
import os
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from replay import Server  # noqa: E402

LINES = 150000
TIMEOUT = 120.0


def document(lines, seed=""):
    parts = ['<?xml version="1.0"?>\n<catalog>\n']
    for i in range(lines):
        parts.append(f'  <item id="{i}{seed}" kind="k{i % 7}">text &amp; more</item>\n')
    parts.append("</catalog>\n")
    return "".join(parts)


class Client:
    def __init__(self, binary):
        self.server = Server([binary, "lsp", "--diagnostics-delay", "60000"])
        self.next_id = 1
        self.seen = []

    def request(self, method, params):
        rid = self.next_id
        self.next_id += 1
        self.server.send({"jsonrpc": "2.0", "id": rid, "method": method, "params": params})
        return rid

    def notify(self, method, params):
        self.server.send({"jsonrpc": "2.0", "method": method, "params": params})

    def wait(self, predicate, what):
        """The first message (seen before or arriving) for which predicate holds."""
        for i, message in enumerate(self.seen):
            if predicate(message):
                return self.seen.pop(i)
        deadline = time.monotonic() + TIMEOUT
        while True:
            message = self.server._read_message(deadline)
            if message is None:
                raise SystemExit(f"no {what} within {TIMEOUT} s")
            if message.get("method") == "window/workDoneProgress/create":
                self.server.send({"jsonrpc": "2.0", "id": message["id"], "result": None})
            if predicate(message):
                return message
            self.seen.append(message)

    def answer(self, rid):
        return self.wait(lambda m: m.get("id") == rid and "method" not in m, f"answer {rid}")

    def progress(self, token, kind):
        return self.wait(
            lambda m: m.get("method") == "$/progress" and m["params"]["token"] == token
            and m["params"]["value"]["kind"] == kind, f"progress {kind} of {token}")

    def full(self, uri, **extra):
        return self.request("textDocument/semanticTokens/full",
                            dict({"textDocument": {"uri": uri}}, **extra))

    def open(self, uri, text):
        self.notify("textDocument/didOpen", {"textDocument": {
            "uri": uri, "languageId": "xml", "version": 1, "text": text}})

    def change(self, uri, version, line, text):
        self.notify("textDocument/didChange", {
            "textDocument": {"uri": uri, "version": version},
            "contentChanges": [{"range": {"start": {"line": line, "character": 0},
                                          "end": {"line": line, "character": 0}},
                                "text": text}]})


def apply_token_edits(data, edits):
    for edit in sorted(edits, key=lambda e: e["start"], reverse=True):
        data[edit["start"]:edit["start"] + edit["deleteCount"]] = edit.get("data", [])
    return data


def check(condition, message):
    if not condition:
        raise SystemExit("FAILED: " + message)


def main():
    binary = sys.argv[1]
    client = Client(binary)
    init = client.request("initialize", {"capabilities": {"window": {"workDoneProgress": True}}})
    client.answer(init)
    client.notify("initialized", {})
    text = document(LINES)

    # cancel
    a = "file:///long/a.xml"
    client.open(a, text)
    first = client.answer(client.full(a))["result"]
    running = client.full(a, workDoneToken="cancel-me")
    client.progress("cancel-me", "begin")
    client.notify("$/cancelRequest", {"id": running})
    client.change(a, 2, 5, " ")
    delta = client.request("textDocument/semanticTokens/full/delta",
                           {"textDocument": {"uri": a}, "previousResultId": first["resultId"]})
    cancelled = client.answer(running)
    check(cancelled.get("error", {}).get("code") == -32800, f"cancel answered {str(cancelled)[:200]}")
    check("result" in client.answer(delta), "the delta was not answered")
    client.progress("cancel-me", "end")

    # edit
    b = "file:///long/b.xml"
    client.open(b, text)
    running = client.full(b, workDoneToken="edit-during")
    client.progress("edit-during", "begin")
    client.change(b, 2, 3, '<new a="1">\n')
    client.change(b, 3, 40, "<!-- c -->")
    during = client.answer(running)["result"]
    c = "file:///long/c.xml"
    client.open(c, text)
    same_text = client.answer(client.full(c))["result"]
    check(during["data"] == same_text["data"], "the full answer is not the tokens of its version")
    delta = client.answer(client.request(
        "textDocument/semanticTokens/full/delta",
        {"textDocument": {"uri": b}, "previousResultId": during["resultId"]}))["result"]
    check("edits" in delta, "no delta on top of a full answer computed during edits")
    patched = apply_token_edits(list(during["data"]), delta["edits"])
    fresh = client.answer(client.full(b))["result"]
    check(patched == fresh["data"], "full answer plus delta differs from a fresh full result")

    # progress: opening a big document showed some (not cancellable) ...
    opening = client.wait(lambda m: m.get("method") == "$/progress"
                          and m["params"]["value"].get("title") == "Opening", "opening progress")
    check(opening["params"]["value"]["cancellable"] is False, "opening is not cancellable")
    client.seen = [m for m in client.seen if m.get("method") != "window/workDoneProgress/create"]
    # ... and so do long requests on it.
    rid = client.request("textDocument/foldingRange", {"textDocument": {"uri": c}})
    create = client.wait(lambda m: m.get("method") == "window/workDoneProgress/create",
                         "window/workDoneProgress/create")
    token = create["params"]["token"]
    rid = client.full(c)
    create = client.wait(lambda m: m.get("method") == "window/workDoneProgress/create",
                         "a second window/workDoneProgress/create")
    token = create["params"]["token"]
    kinds, last = [], -1
    while not kinds or kinds[-1] != "end":
        value = client.wait(lambda m: m.get("method") == "$/progress"
                            and m["params"]["token"] == token, "progress")["params"]["value"]
        kinds.append(value["kind"])
        if "percentage" in value:
            check(value["percentage"] >= last, f"percentage fell to {value['percentage']}")
            last = value["percentage"]
    check(kinds[0] == "begin" and kinds.count("begin") == 1 and kinds.count("end") == 1,
          f"progress kinds {kinds[:5]}...")
    check("result" in client.answer(rid), "no answer after the progress")

    client.answer(client.request("shutdown", None))
    client.notify("exit", None)
    client.server.proc.wait(TIMEOUT)
    print("long requests: passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
