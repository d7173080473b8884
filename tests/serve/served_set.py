"""A set of the test's own and kura serve on it, with plain requests to it."""

import atexit
import contextlib
import functools
import http.client
import json
import os
import shutil
import signal
import subprocess
import tempfile
import time
from pathlib import Path

KURA = os.environ["KURA_COMMAND"]
PATIENCE = 60
# Where sets wait for no disk; None is the usual folder.
MEMORY = "/dev/shm" if os.access("/dev/shm", os.W_OK) and "TMPDIR" not in os.environ else None


def until(what, condition, patience=PATIENCE):
    """Waits for a condition; its first true value."""
    end = time.monotonic() + patience
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.02)
    raise AssertionError(f"not within {patience} s: {what}")


@functools.cache
def template():
    """A new set, made once: a copy takes a fraction of the time."""
    folder = tempfile.mkdtemp(prefix="kura-template-", dir=MEMORY)
    atexit.register(shutil.rmtree, folder, ignore_errors=True)
    subprocess.run([KURA, "--set", f"{folder}/set", "set", "new"], stdin=subprocess.DEVNULL,
                   stdout=subprocess.DEVNULL, timeout=PATIENCE, check=True)
    return f"{folder}/set"


class Answer:
    def __init__(self, response):
        self.status = response.status
        self.headers = response.headers
        self.body = response.read()

    @property
    def document(self):
        return json.loads(self.body)

    @property
    def kind(self):
        return self.document["error"]["kind"]

    @property
    def message(self):
        return self.document["error"]["message"]


class ServedSet:
    """Use it in a with statement: the server, the set and everything in its folder end with it."""

    def __init__(self, *options, description=None, language="en", prepare=None):
        self.folder = Path(tempfile.mkdtemp(prefix="kura-serve-", dir=MEMORY))
        self.set = self.folder / "set"
        self.server = None
        try:
            subprocess.run(["cp", "-a", template(), str(self.set)], timeout=PATIENCE, check=True)
            if description:
                self.describe(**description)
            if prepare:
                prepare(self)
            self.start("--language", language, "--json", "serve", *options)
            self.document = json.loads(self.server.stdout.readline())
        except BaseException:
            self.close()
            raise
        self.url = self.document["url"]
        self.port = self.document["port"]
        self.root = self.url.split(f":{self.port}", 1)[1]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        if self.server and self.server.poll() is None:
            self.server.kill()
            self.server.wait()
        if self.server:
            self.server.stdout.close()
            self.server.stderr.close()
        shutil.rmtree(self.folder, ignore_errors=True)

    def start(self, *arguments):
        self.server = subprocess.Popen([KURA, "--set", str(self.set), *arguments], stdin=subprocess.DEVNULL,
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def end(self, with_signal=signal.SIGTERM):
        """Tells the server to end: exit code, rest of standard output, standard error."""
        self.server.send_signal(with_signal)
        out, err = self.server.communicate(timeout=PATIENCE)
        return self.server.returncode, out, err

    def kura(self, *arguments):
        done = subprocess.run([KURA, "--set", str(self.set), "--json", *arguments], stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=PATIENCE, check=False)
        if done.returncode != 0:
            raise AssertionError(f"kura {arguments}: {done.returncode} {done.stdout} {done.stderr}")
        return json.loads(done.stdout)

    def describe(self, **changes):
        path = self.set / "set.json"
        description = json.loads(path.read_text("utf-8"))
        description.update(changes)
        new = path.with_suffix(".new")
        new.write_text(json.dumps(description), "utf-8")
        new.replace(path)

    def ask(self, method, path, body=None, headers=None, host=None, root=None):
        """path: below the token. host: another Host header."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=PATIENCE)
        with contextlib.closing(connection):
            connection.putrequest(method, (self.root if root is None else root) + path, skip_host=True)
            connection.putheader("Host", host or f"127.0.0.1:{self.port}")
            if body is not None:
                connection.putheader("Content-Length", str(len(body)))
            for name, value in (headers or {}).items():
                connection.putheader(name, value)
            connection.endheaders()
            if body is not None:
                connection.send(body)
            return Answer(connection.getresponse())

    def get(self, path, **more):
        return self.ask("GET", path, **more)

    def post(self, verb, argument=None, **more):
        headers = {"Content-Type": "application/json", **more.pop("headers", {})}
        return self.ask("POST", f"api/{verb}", json.dumps(argument or {}).encode(), headers=headers, **more)

    def state(self):
        return self.get("api/state").document

    def follow(self):
        return Followed(self)


class Followed:
    """The server's events, one by one."""

    def __init__(self, served):
        self.connection = http.client.HTTPConnection("127.0.0.1", served.port, timeout=PATIENCE)
        self.connection.request("GET", served.root + "api/events")
        self.response = self.connection.getresponse()
        self.status = self.response.status

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        self.response.close()
        self.connection.close()

    def next(self):
        """(name, data) of the next event; None when the server has ended the stream."""
        name = None
        while True:
            line = self.response.readline()
            if not line:
                return None
            text = line.decode().rstrip("\n")
            if text.startswith("event: "):
                name = text[len("event: "):]
            elif text.startswith("data: "):
                return name, json.loads(text[len("data: "):])

    def find(self, name, condition):
        """The data of the next event of that name that fits."""
        while True:
            event = self.next()
            if event is None:
                raise AssertionError(f"the stream ended before: {name}")
            if event[0] == name and condition(event[1]):
                return event[1]
