#!/usr/bin/env python3
"""Replays a transcript through `xylem lsp` and checks the server's answers.

A transcript is a list of blocks, each starting with a marker line:
  >>> JSON            a message the client sends (may span lines up to the next marker)
  <<< JSON            a message the server must send next among those of the same kind:
                      a response is matched by its id, a notification by its method; other
                      messages in between are skipped. The expected JSON is a pattern: objects
                      match when every key given matches (extra keys are allowed), arrays and
                      scalars must match exactly (arrays element by element as patterns);
                      {"$contains": [p...]} and {"$lacks": [p...]} match arrays loosely.
  === EXIT n          the server must exit with code n.
  === ARGS ...        (first block only) more arguments for `xylem lsp`.
Lines starting with "#" are comments. "${URI}" stands for a file URI in the test folder.
"""
import json
import os
import select
import subprocess
import sys
import time

TIMEOUT = 20.0


def parse_blocks(path):
    blocks, current = [], None
    base = "file://" + os.path.dirname(os.path.abspath(path))
    with open(path, encoding="utf-8") as f:
        for line in f:
            if line.startswith("#"):
                continue
            for marker in (">>>", "<<<", "==="):
                if line.startswith(marker):
                    current = [marker, line[3:]]
                    blocks.append(current)
                    break
            else:
                if current is None:
                    if line.strip():
                        raise SystemExit(f"{path}: text before the first marker: {line!r}")
                    continue
                current[1] += line
    return [(m, text.replace("${URI}", base).strip()) for m, text in blocks]


def matches(expected, actual, where="$"):
    if isinstance(expected, dict) and expected and all(k.startswith("$") for k in expected):
        # {"$contains": [p...]}: an array holding an element matching each p, in any order;
        # {"$lacks": [p...]}: an array with no element matching any p.
        if not isinstance(actual, list):
            return f"{where}: expected an array, got {json.dumps(actual)[:200]}"
        for pattern in expected.get("$contains", []):
            if all(matches(pattern, a, where) for a in actual):
                return f"{where}: no element like {json.dumps(pattern)[:200]}"
        for pattern in expected.get("$lacks", []):
            if any(matches(pattern, a, where) is None for a in actual):
                return f"{where}: unexpected element like {json.dumps(pattern)[:200]}"
        return None
    if isinstance(expected, dict):
        if not isinstance(actual, dict):
            return f"{where}: expected an object, got {json.dumps(actual)[:200]}"
        for key, value in expected.items():
            if key not in actual:
                return f"{where}: missing key {key!r} in {json.dumps(actual)[:300]}"
            problem = matches(value, actual[key], f"{where}.{key}")
            if problem:
                return problem
        return None
    if isinstance(expected, list):
        if not isinstance(actual, list) or len(actual) != len(expected):
            return f"{where}: expected {json.dumps(expected)[:300]}, got {json.dumps(actual)[:300]}"
        for i, (e, a) in enumerate(zip(expected, actual)):
            problem = matches(e, a, f"{where}[{i}]")
            if problem:
                return problem
        return None
    if expected != actual:
        return f"{where}: expected {json.dumps(expected)}, got {json.dumps(actual)}"
    return None


class Server:
    def __init__(self, command):
        self.proc = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.buffer = b""
        self.pending = []

    def send(self, message):
        body = json.dumps(message).encode("utf-8")
        self.send_raw(b"Content-Length: %d\r\n\r\n" % len(body) + body)

    def send_raw(self, data):
        self.proc.stdin.write(data)
        self.proc.stdin.flush()

    def _read_message(self, deadline):
        while True:
            header_end = self.buffer.find(b"\r\n\r\n")
            if header_end >= 0:
                length = None
                for line in self.buffer[:header_end].split(b"\r\n"):
                    name, _, value = line.partition(b":")
                    if name.strip().lower() == b"content-length":
                        length = int(value)
                start = header_end + 4
                if length is not None and len(self.buffer) >= start + length:
                    body = self.buffer[start:start + length]
                    self.buffer = self.buffer[start + length:]
                    return json.loads(body)
            left = deadline - time.monotonic()
            if left <= 0:
                return None
            ready, _, _ = select.select([self.proc.stdout], [], [], left)
            if not ready:
                return None
            chunk = os.read(self.proc.stdout.fileno(), 1 << 16)
            if not chunk:
                return None
            self.buffer += chunk

    def expect(self, pattern):
        def same_kind(message):
            if "id" in pattern and "method" not in pattern:
                return message.get("id") == pattern["id"] and "method" not in message
            if "id" in pattern:  # a request of the server's
                return message.get("id") == pattern["id"] and message.get("method") == pattern["method"]
            if message.get("method") != pattern.get("method") or "id" in message:
                return False
            # Notifications about one document (diagnostics) are told apart by its URI.
            uri = pattern.get("params", {}).get("uri") if isinstance(pattern.get("params"), dict) else None
            return uri is None or message.get("params", {}).get("uri") == uri

        deadline = time.monotonic() + TIMEOUT
        for i, message in enumerate(self.pending):
            if same_kind(message):
                del self.pending[i]
                return self._check(pattern, message)
        while True:
            message = self._read_message(deadline)
            if message is None:
                return f"no message like {json.dumps(pattern)[:300]} within {TIMEOUT} s"
            if same_kind(message):
                return self._check(pattern, message)
            self.pending.append(message)

    def _check(self, pattern, message):
        # REPLAY_SHOW=1 prints what the server sent, for writing a new transcript.
        if os.environ.get("REPLAY_SHOW"):
            print(json.dumps(message))
        return matches(pattern, message)


def main():
    binary, transcript = sys.argv[1], sys.argv[2]
    blocks = parse_blocks(transcript)
    args = ["--diagnostics-delay", "0"]
    if blocks and blocks[0][0] == "===" and blocks[0][1].startswith("ARGS"):
        args += blocks.pop(0)[1].split()[1:]
    server = Server([binary, "lsp"] + args)
    failures = 0
    for marker, text in blocks:
        if marker == ">>>":
            if text.startswith("RAW "):
                server.send_raw(json.loads(text[4:]).encode("utf-8"))
            else:
                server.send(json.loads(text))
        elif marker == "<<<":
            problem = server.expect(json.loads(text))
            if problem:
                print(f"{transcript}: {problem}")
                failures += 1
                if "within" in problem:
                    break
        else:
            code = int(text.split()[1])
            try:
                actual = server.proc.wait(TIMEOUT)
            except subprocess.TimeoutExpired:
                server.proc.kill()
                actual = "none (killed)"
            if actual != code:
                print(f"{transcript}: exit code {actual}, expected {code}")
                failures += 1
    if server.proc.poll() is None:
        server.proc.kill()
        server.proc.wait()
    print(f"{transcript}: {'FAILED' if failures else 'passed'}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
