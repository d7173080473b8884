#!/usr/bin/env python3
"""kura serve as an HTTP server: who may ask, what is answered to bad requests, one call at a time, how it ends."""

import contextlib
import json
import re
import signal
import socket
import subprocess
import threading
import time
import unittest
from pathlib import Path

from pictures import png
from served_set import KURA, PATIENCE, ServedSet, until

PAGE = Path(__file__).resolve().parents[2] / "cli" / "serve" / "page"
JSON = {"Content-Type": "application/json"}
SLOW = {"engine": {"delay_ms": 2500}}
STUCK = {"engine": {"delay_ms": 25000}}


def run(*arguments):
    return subprocess.run([KURA, *arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          timeout=PATIENCE, check=False)


def raw(port, request, half_close=False):
    """What the server sends until it closes."""
    with socket.create_connection(("127.0.0.1", port), timeout=PATIENCE) as connection:
        connection.sendall(request)
        if half_close:
            connection.shutdown(socket.SHUT_WR)
        answer = b""
        while part := connection.recv(65536):
            answer += part
        return answer


class StartTest(unittest.TestCase):
    def test_prints_one_document_and_ends_with_zero_when_told_to(self):
        for told in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(signal=told), ServedSet() as served:
                self.assertRegex(served.url, rf"^http://127\.0\.0\.1:{served.port}/[0-9a-f]{{32}}/$")
                self.assertEqual(served.document["set"], str(served.set))
                self.assertEqual(served.get("").status, 200)
                self.assertEqual(served.end(told), (0, "", ""))

    def test_prints_the_address_alone_or_in_a_sentence(self):
        for options, pattern in ((["--print-url"], r"^http://127\.0\.0\.1:\d+/[0-9a-f]{32}/\n$"),
                                 ([], r"^The screens of the set: http://127\.0\.0\.1:\d+/[0-9a-f]{32}/\n")):
            with self.subTest(options=options), ServedSet() as served:
                served.end()
                served.server.stdout.close()
                served.server.stderr.close()
                served.start("serve", *options)
                self.assertRegex(served.server.stdout.readline(), pattern)
                self.assertEqual(served.end()[0], 0)

    def test_ends_while_pages_follow(self):
        with ServedSet() as served, served.follow() as page:
            self.assertEqual(page.next()[0], "set")
            self.assertEqual(served.end()[0], 0)
            while page.next():
                pass

    def test_ends_while_a_call_runs_and_leaves_no_process(self):
        with ServedSet(description=STUCK) as served:
            call = threading.Thread(target=served.post, args=("diagnose",))
            call.start()
            until("the call runs", lambda: served.state()["running"])
            self.assertEqual(served.end()[0], 0)
            call.join()
            processes = subprocess.run(["ps", "-eo", "args"], capture_output=True, text=True, check=True).stdout
            self.assertNotIn(str(served.set), processes)

    def test_names_a_port_that_is_taken(self):
        with ServedSet() as served:
            taken = run("--set", str(served.set), "--json", "serve", "--port", str(served.port))
            self.assertEqual(taken.returncode, 1)
            self.assertEqual(json.loads(taken.stdout)["error"]["message"],
                             f"port {served.port} is taken by another program")
            self.assertEqual(served.get("api/state").status, 200)

    def test_listens_on_the_port_that_it_is_given_and_on_the_loopback_address_alone(self):
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            port = probe.getsockname()[1]
        with ServedSet("--port", str(port)) as served:
            self.assertEqual(served.port, port)
            with self.assertRaises(ConnectionRefusedError):
                socket.create_connection(("127.0.0.2", port), timeout=PATIENCE)

    def test_refuses_a_set_that_is_not_there_and_a_port_that_cannot_be(self):
        missing = run("--set", "/nonexistent/set", "--json", "serve")
        self.assertEqual(missing.returncode, 3)
        self.assertIn("/nonexistent/set", json.loads(missing.stdout)["error"]["message"])
        for port in ("65536", "-1", "http"):
            answer = run("--json", "serve", "--port", port)
            self.assertEqual(answer.returncode, 64)
            self.assertEqual(json.loads(answer.stdout)["error"]["kind"], "usage")


class GuardTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.served = ServedSet()
        cls.addClassCleanup(cls.served.close)

    def assert_refused(self, answer, status, kind):
        self.assertEqual((answer.status, answer.kind), (status, kind))
        self.assertTrue(answer.message)
        self.assertIsNone(self.served.state()["last"])

    def test_wants_the_token(self):
        token = self.served.root.strip("/")
        other = "1" if token[-1] == "0" else "0"
        wrong = ["/", "//", "/api/state", f"/{token[:-1]}/", f"/{token}0/", f"/{token[:-1]}{other}/", f"/x/{token}/",
                 f"/?token={token}"]
        for root in wrong:
            with self.subTest(root=root):
                self.assert_refused(self.served.get("", root=root), 401, "no-token")
                self.assert_refused(self.served.ask("POST", "api/diagnose", b"{}", JSON, root=root), 401, "no-token")

    def test_wants_its_own_name(self):
        port = self.served.port
        for host in ("evil.example", f"evil.example:{port}", "127.0.0.1", f"127.0.0.1:{port + 1}", f"[::1]:{port}",
                     f"127.0.0.1:{port}.evil.example", f"evil@127.0.0.1:{port}"):
            with self.subTest(host=host):
                self.assert_refused(self.served.get("", host=host), 403, "foreign-host")
                self.assert_refused(self.served.post("diagnose", host=host), 403, "foreign-host")
        self.assertEqual(self.served.get("", host=f"localhost:{port}").status, 200)

    def test_wants_exactly_one_name(self):
        for hosts in (b"", f"Host: 127.0.0.1:{self.served.port}\r\nHost: evil.example\r\n".encode()):
            answer = raw(self.served.port, f"GET {self.served.root} HTTP/1.1\r\n".encode() + hosts +
                         b"Connection: close\r\n\r\n")
            self.assertRegex(answer, rb"^HTTP/1\.1 400 ")
            self.assertIn(b'"bad-request"', answer)

    def test_refuses_other_pages(self):
        own = f"http://127.0.0.1:{self.served.port}"
        for origin in ("https://evil.example", "null", f"https://127.0.0.1:{self.served.port}",
                       f"http://localhost:{self.served.port}", own + "/", "http://127.0.0.1"):
            with self.subTest(origin=origin):
                self.assert_refused(self.served.get("", headers={"Origin": origin}), 403, "foreign-origin")
                self.assert_refused(self.served.post("diagnose", headers={"Origin": origin}), 403, "foreign-origin")
        self.assertEqual(self.served.get("", headers={"Origin": own}).status, 200)

    def test_knows_its_addresses_alone(self):
        for path in ("nothing", "api/", "api/launch", "api/set", "index.html", "texts/en.json", "page.css/",
                     "api/state/", "../../../etc/passwd", "..%2f..%2f..%2fetc%2fpasswd", "%2e%2e/main.js",
                     "page.css%00.js", "%0a"):
            with self.subTest(path=path):
                self.assert_refused(self.served.get(path), 404, "no-such-item")
                self.assert_refused(self.served.ask("POST", path, b"{}", JSON), 404, "no-such-item")

    def test_takes_the_right_methods_alone(self):
        for path, methods, allow in (("api/diagnose", ("GET", "HEAD", "PUT", "DELETE", "PATCH", "OPTIONS"), "POST"),
                                     ("api/state", ("POST", "PUT", "DELETE", "PATCH", "OPTIONS", "TRACE"), "GET, HEAD"),
                                     ("", ("POST", "PUT", "DELETE"), "GET, HEAD")):
            for method in methods:
                with self.subTest(path=path, method=method):
                    answer = self.served.ask(method, path, None if method in ("GET", "HEAD", "OPTIONS", "TRACE") else
                                             b"{}", JSON)
                    self.assertEqual((answer.status, answer.headers["Allow"]), (405, allow))
                    if method != "HEAD":
                        self.assert_refused(answer, 405, "wrong-method")

    def test_wants_json(self):
        for kind in ("text/plain", "application/x-www-form-urlencoded", "multipart/form-data; boundary=x", "", "json"):
            with self.subTest(kind=kind):
                headers = {"Content-Type": kind} if kind else {}
                self.assert_refused(self.served.ask("POST", "api/diagnose", b"{}", headers), 415, "wrong-type")

    def test_wants_a_body_that_makes_sense(self):
        for verb, body in (("diagnose", b"{"), ("diagnose", b"[]"), ("diagnose", b"null"),
                           ("diagnose", b'{"code":"1"}'), ("diagnose", b"{} {}"), ("fix", b"{}"), ("fix", b""),
                           ("fix", b'{"code":1001}'), ("fix", b'{"code":""}'),
                           ("fix", b'{"code":"1001","background":true}'), ("fix", b'{"code":"10\\n01"}'),
                           ("fix", b'{"code":"10\\u000001"}'), ("fix", b'{"code":"\xff"}'),
                           ("fix", json.dumps({"code": "1" * 257}).encode()), ("fix", b"[" * 4000)):
            with self.subTest(verb=verb, body=body[:40]):
                self.assert_refused(self.served.ask("POST", f"api/{verb}", body, JSON), 400, "bad-request")

    def test_limits_the_body(self):
        for size in (4097, 100_000, 1_048_577, 3_000_000):
            with self.subTest(size=size):
                self.assert_refused(self.served.ask("POST", "api/diagnose", b" " * size, JSON), 413, "too-large")
        chunk = b"1000\r\n" + b" " * 4096 + b"\r\n"
        head = (f"POST {self.served.root}api/diagnose HTTP/1.1\r\nHost: 127.0.0.1:{self.served.port}\r\n"
                "Content-Type: application/json\r\nTransfer-Encoding: chunked\r\nConnection: close\r\n\r\n").encode()
        self.assertRegex(raw(self.served.port, head + 2 * chunk + b"0\r\n\r\n"), rb"^HTTP/1\.1 413 ")
        self.assertIsNone(self.served.state()["last"])

    def test_refuses_a_body_that_ends_early(self):
        head = (f"POST {self.served.root}api/diagnose HTTP/1.1\r\nHost: 127.0.0.1:{self.served.port}\r\n"
                "Content-Type: application/json\r\nContent-Length: 100\r\nConnection: close\r\n\r\n{}").encode()
        answer = raw(self.served.port, head, half_close=True)
        self.assertTrue(answer == b"" or answer.startswith(b"HTTP/1.1 400 "), answer)
        self.assertIsNone(self.served.state()["last"])

    def test_limits_the_address(self):
        for length in (2000, 9000):
            with self.subTest(length=length):
                answer = self.served.get("a" * length)
                self.assertEqual((answer.status, answer.kind), (414, "too-long"))

    def test_answers_what_is_no_request(self):
        for request in (b"HELLO\r\n\r\n", b"GET / HTTP/9.9\r\n\r\n", b"\x00\xff\xfe\r\n\r\n"):
            with self.subTest(request=request):
                answer = raw(self.served.port, request)
                self.assertTrue(answer == b"" or answer.startswith(b"HTTP/1.1 400 "), answer)
        self.assertEqual(self.served.get("").status, 200)

    def test_answers_others_while_a_request_dawdles(self):
        with socket.create_connection(("127.0.0.1", self.served.port)) as dawdler:
            dawdler.sendall(f"POST {self.served.root}api/diagnose HTTP/1.1\r\nContent-Len".encode())
            self.assertEqual(self.served.get("api/state").status, 200)

    def head(self, headers, method="POST", root=None):
        return (f"{method} {root or self.served.root}api/diagnose HTTP/1.1\r\nHost: 127.0.0.1:{self.served.port}\r\n"
                f"Content-Type: application/json\r\n{headers}").encode()

    def assert_served(self):
        """The owner gets the page, its state, and a call."""
        self.assertEqual(self.served.get("").status, 200)
        self.assertIsNone(self.served.state()["last"])
        self.assert_refused(self.served.post("diagnose", {"x": "y"}), 400, "bad-request")

    def memory(self):
        status = Path(f"/proc/{self.served.server.pid}/status").read_text("utf-8")
        return int(re.search(r"VmHWM:\s+(\d+) kB", status)[1]) / 1024

    def test_serves_its_owner_while_many_others_send_byte_by_byte(self):
        with contextlib.ExitStack() as stack:
            drips = []
            for _ in range(64):
                drips.append(stack.enter_context(socket.create_connection(("127.0.0.1", self.served.port))))
                drips[-1].sendall(b"GET / HTTP/1.1\r\nX-Drip: ")
                time.sleep(0.03)  # The server's queue of new connections is short.
            served = threading.Event()

            def go_on():
                while not served.wait(0.2):
                    for drip in drips:
                        with contextlib.suppress(OSError):
                            drip.send(b"x")

            dripping = threading.Thread(target=go_on)
            dripping.start()
            try:
                self.assert_served()
            finally:
                served.set()
                dripping.join()

    def test_cuts_off_a_request_that_takes_its_time(self):
        with socket.create_connection(("127.0.0.1", self.served.port), timeout=PATIENCE) as drip:
            drip.sendall(b"GET / HTTP/1.1\r\nX-Drip: ")
            drip.settimeout(0.5)
            end = time.monotonic() + PATIENCE
            answer = None
            while answer is None and time.monotonic() < end:
                with contextlib.suppress(TimeoutError):
                    drip.send(b"x")
                    answer = drip.recv(4096)
            self.assertTrue(answer == b"" or answer.startswith(b"HTTP/1.1 400 "), answer)

    def test_takes_no_headers_without_end(self):
        before = self.memory()
        with socket.create_connection(("127.0.0.1", self.served.port), timeout=PATIENCE) as endless:
            endless.sendall(b"GET / HTTP/1.1\r\n")
            sent = 0
            with contextlib.suppress(ConnectionError):
                while sent < 200 * 1024 * 1024:
                    sent += endless.send(b"X-Endless: and another one\r\n" * 10_000)
            self.assertLess(sent, 100 * 1024 * 1024)
        self.assertLess(self.memory() - before, 50)
        self.assert_served()

    def test_reads_no_long_body(self):
        for root in ("/", None):
            with self.subTest(root=root), \
                    socket.create_connection(("127.0.0.1", self.served.port), timeout=PATIENCE) as sender:
                sender.sendall(self.head("Content-Length: 1073741824\r\n\r\n", root=root))
                self.assertRegex(sender.recv(65536), rb"^HTTP/1\.1 (401|413) ")
                sent = 0
                with contextlib.suppress(ConnectionError):
                    while sent < 200 * 1024 * 1024:
                        sent += sender.send(b" " * 1024 * 1024)
                self.assertLess(sent, 100 * 1024 * 1024)
        self.assert_served()

    def test_wants_one_length_that_is_a_number(self):
        for headers in ("Content-Length: -1", "Content-Length: +2", "Content-Length: 0x2",
                        "Content-Length: 2\r\nContent-Length: 2", "Transfer-Encoding: gzip",
                        "Content-Length: 2\r\nTransfer-Encoding: chunked"):
            with self.subTest(headers=headers):
                answer = raw(self.served.port, self.head(headers + "\r\n\r\n{}"))
                self.assertRegex(answer, rb"^HTTP/1\.1 400 ")
        self.assertRegex(raw(self.served.port, self.head("Content-Length: 18446744073709551618\r\n\r\n{}")),
                         rb"^HTTP/1\.1 413 ")
        self.assert_served()

    def test_takes_a_request_without_length_as_one_without_body(self):
        call = self.head("\r\n").replace(b"api/diagnose", b"api/fix")
        self.assertRegex(raw(self.served.port, call), rb"^HTTP/1\.1 400 ")

    def test_sends_the_guarding_headers_with_everything(self):
        for answer in (self.served.get(""), self.served.get("main.js"), self.served.get("api/state"),
                       self.served.get("nothing"), self.served.get("", root="/"), self.served.post("fix")):
            policy = answer.headers["Content-Security-Policy"]
            self.assertIn("default-src 'none'", policy)
            self.assertNotIn("unsafe", policy)
            self.assertEqual(answer.headers["X-Content-Type-Options"], "nosniff")
            self.assertEqual(answer.headers["Referrer-Policy"], "no-referrer")
            self.assertEqual(answer.headers["Cache-Control"], "no-store")

    def test_leads_to_the_address_that_ends_with_a_slash(self):
        answer = self.served.get("", root=self.served.root.rstrip("/"))
        self.assertEqual((answer.status, answer.headers["Location"]), (302, self.served.root))


def waiting_on(served):
    """The programs that diagnose on the set."""
    processes = subprocess.run(["ps", "-eo", "args"], capture_output=True, text=True, check=True).stdout
    return [line for line in processes.splitlines() if str(served.set) in line and "diagnose" in line]


class CallTest(unittest.TestCase):
    def test_diagnoses_fixes_and_keeps_what_the_screens_show(self):
        with ServedSet() as served:
            listed = served.post("diagnose")
            self.assertEqual(listed.status, 200)
            codes = [row["issue_code"] for row in listed.document["problems"]]
            self.assertIn("1001", codes)
            self.assertEqual(served.state()["screens"]["start"]["document"], listed.document)
            fixed = served.post("fix", {"code": "1001"})
            self.assertEqual(fixed.status, 200)
            self.assertEqual(fixed.document["solutions"][0]["sol_code"], "100101")
            remaining = served.post("problems").document["problems"]
            self.assertEqual([row["issue_code"] for row in remaining], [code for code in codes if code != "1001"])
            self.assertEqual(served.kura("settings", "get", "db/menu/picture/backlight")["value"], 35)

    def test_tells_why_and_what_a_repair_would_do_and_changes_nothing(self):
        with ServedSet() as served:
            served.post("diagnose")
            why = served.post("why", {"code": "1001"})
            self.assertEqual((why.status, why.document), (200, served.kura("why", "1001")))
            home = served.post("why-home", {"code": "1001"})
            self.assertEqual((home.status, home.document["list"]), (200, "home"))
            steps = served.post("preview", {"code": "1001"}).document["steps"]
            self.assertIn("db/menu/picture/backlight", steps[0]["text"])
            self.assertEqual(served.post("preview", {"code": "77"}).status, 404)
            self.assertEqual(served.post("preview", {"code": "--help"}).status, 404)
            self.assertFalse(served.state()["screens"]["start"]["stale"])

    def test_passes_the_language_on(self):
        with ServedSet(language="de") as served:
            first = served.post("diagnose").document["problems"][0]
            self.assertEqual(first["texts"]["button1"], "Jetzt beheben")
            self.assertEqual(served.get("texts.json").document["start.title"], "Diagnose")
            self.assertEqual(served.state()["language"], "de")

    def test_says_what_is_not_there(self):
        with ServedSet() as served:
            for verb, argument in (("fix", {"code": "77"}), ("fix", {"code": "--help"}), ("fix", {"code": "-x y"}),
                                   ("app", {"id": "no.such.app"}), ("kill", {"id": "--json"})):
                with self.subTest(argument=argument):
                    answer = served.post(verb, argument)
                    self.assertEqual((answer.status, answer.kind), (404, "no-such-item"))
                    self.assertIn(next(iter(argument.values())), answer.message)

    def test_says_who_did_not_answer_and_what_failed(self):
        faults = {"faults": {"pkgmgr": "absent", "engine": {"subscribe": 1}}}
        with ServedSet(description=faults) as served:
            answer = served.post("app", {"id": "org.vesta.streambox"})
            self.assertEqual((answer.status, answer.kind), (504, "no-answer"))
            answer = served.post("diagnose")
            self.assertEqual((answer.status, answer.kind), (504, "no-answer"))
            self.assertEqual(served.state()["screens"]["start"]["error"], answer.document["error"])
        with ServedSet(description={"faults": {"pkgmgr": {"clear_user_data": -1}}}) as served:
            answer = served.post("clear-data", {"id": "org.vesta.streambox"})
            self.assertEqual((answer.status, answer.kind), (500, "failed"))

    def test_survives_a_cut_of_power(self):
        with ServedSet(description={"faults": {"kill_at": "InferenceSubscribeOnce"}}) as served:
            answer = served.post("diagnose")
            self.assertEqual((answer.status, answer.kind), (500, "failed"))
            served.describe(faults={})
            self.assertEqual(served.post("diagnose").status, 200)

    def test_carries_out_one_call_at_a_time_and_tells_everybody(self):
        with ServedSet(description=SLOW) as served, served.follow() as looker:
            answers = []
            first = threading.Thread(target=lambda: answers.append(served.post("diagnose")))
            first.start()
            running = looker.find("state", lambda state: state["running"])["running"]
            self.assertEqual((running["verb"], running["usual_s"]), ("diagnose", 30))
            second = served.post("storage")
            self.assertEqual((second.status, second.kind), (409, "busy"))
            self.assertEqual(served.get("").status, 200)
            first.join()
            self.assertEqual(answers[0].status, 200)
            seen = looker.find("state", lambda state: not state["running"])
            self.assertEqual(seen["screens"]["start"]["document"], answers[0].document)
            self.assertEqual(served.post("storage").status, 200)

    def test_gives_up_a_wait_and_ends_its_program(self):
        with ServedSet(description={"engine": {"delay_ms": 60000}}) as served, served.follow() as looker:
            answers = []
            first = threading.Thread(target=lambda: answers.append(served.post("diagnose")))
            first.start()
            running = looker.find("state", lambda state: state["running"])["running"]
            self.assertTrue(running["may_be_left"])
            until("its processes run", lambda: waiting_on(served))
            for wrong in ({}, {"number": "1"}, {"number": -1}, {"number": 1, "more": 1}):
                self.assertEqual(served.post("leave", wrong).status, 400, wrong)
            self.assertEqual(served.post("leave", {"number": running["number"] + 1}).status, 404)
            self.assertEqual(served.post("leave", {"number": running["number"]}).status, 200)
            first.join()
            self.assertEqual((answers[0].status, answers[0].kind), (504, "left"))
            self.assertEqual(served.state()["screens"]["start"]["error"]["kind"], "left")
            self.assertFalse(served.state()["screens"]["start"]["stale"])
            self.assertEqual(served.post("leave", {"number": running["number"]}).status, 404)
            until("its processes are gone", lambda: not waiting_on(served))
            self.assertEqual(served.post("storage").status, 200)

    def test_gives_up_no_call_that_changes_the_set(self):
        with ServedSet() as served, served.follow() as looker:
            first = threading.Thread(target=lambda: served.post("clean"))
            first.start()
            running = looker.find("state", lambda state: state["running"])["running"]
            self.assertFalse(running["may_be_left"])
            answer = served.post("leave", {"number": running["number"]})
            self.assertEqual((answer.status, answer.kind), (409, "busy"))
            first.join()
            self.assertIsNone(served.state()["last"]["error"])

    def test_guides(self):
        with ServedSet() as served:
            guided = served.post("guide")
            self.assertEqual(guided.status, 200)
            self.assertEqual(served.state()["screens"]["guide"]["document"], guided.document)
            found = served.set / "files" / guided.document["file"].lstrip("/")
            self.assertEqual(found.read_text("utf-8").split(), guided.document["issue_codes"])

    def test_compares_the_storage_before_and_after_room_was_made(self):
        with ServedSet() as served:
            served.post("clean")
            self.assertIsNone(served.state()["freed"], "nobody had measured before")
            before = served.post("storage").document
            served.post("clear-cache", {"id": "org.vesta.streambox"})
            freed = served.state()["freed"]
            self.assertEqual((freed["verb"], freed["argument"]), ("clear-cache", "org.vesta.streambox"))
            self.assertEqual((freed["before"], freed["after"]), (before, None))
            after = served.post("storage").document
            self.assertEqual(served.state()["freed"]["after"], after)
            self.assertLess(after["opt"]["used"], before["opt"]["used"])
            served.post("kill", {"id": "org.vesta.streambox"})
            served.post("storage")
            self.assertEqual(served.state()["freed"]["after"], after, "a later figure is no work of the call")

    def test_compares_nothing_that_somebody_else_has_changed(self):
        with ServedSet() as served, served.follow() as page:
            served.post("storage")
            served.post("clear-cache", {"id": "org.vesta.streambox"})
            page.find("state", lambda state: state["freed"])
            served.kura("settings", "set", "db/x", "y")
            page.find("state", lambda state: state["freed"] is None)
            served.post("storage")
            self.assertIsNone(served.state()["freed"])

    def test_keeps_a_history_that_is_old_after_each_run(self):
        with ServedSet() as served:
            self.assertEqual(served.post("history").document, {"history": []})
            found = served.post("diagnose").document["problems"]
            self.assertTrue(served.state()["screens"]["history"]["stale"])
            served.post("fix", {"code": "1001"})
            events = served.post("history").document["history"]
            self.assertEqual([event["what"] for event in events], ["diagnosis", "repair"])
            codes = [issue["issue_code"] for issue in events[0]["issues"]]
            self.assertLessEqual({row["issue_code"] for row in found}, set(codes))
            self.assertEqual(events[1]["issues"], [{"issue_code": "1001", "title": found[0]["texts"]["issue"]}])
            self.assertEqual([event["failure"] for event in events], [None, None])
            self.assertFalse(served.state()["screens"]["history"]["stale"])
            (served.set / "files/opt/usr/share/TVKuraHelp/SolutionMap.xml").write_text("<", "utf-8")
            repair = served.post("history").document["history"][1]
            self.assertEqual(repair["issues"], [{"issue_code": "1001", "title": ""}])

    def test_tells_when_the_set_vanishes_and_when_it_is_back(self):
        with ServedSet() as served, served.follow() as page:
            self.assertTrue(page.find("set", lambda _: True)["present"])
            away = served.folder / "away"
            served.set.rename(away)
            self.assertFalse(page.find("set", lambda _: True)["present"])
            answer = served.post("diagnose")
            self.assertEqual((answer.status, answer.kind), (404, "no-such-item"))
            self.assertIn(str(served.set), answer.message)
            away.rename(served.set)
            self.assertTrue(page.find("set", lambda _: True)["present"])
            self.assertEqual(served.post("diagnose").status, 200)

    def test_names_what_is_wrong_with_a_damaged_set(self):
        with ServedSet() as served:
            (served.set / "set.json").write_text('{"apps": 3}', "utf-8")
            answer = served.post("apps")
            self.assertEqual(answer.status, 500)
            self.assertIn("set.json", answer.message)


class EventTest(unittest.TestCase):
    def write(self, served, text, mode="a"):
        with open(served.set / "journal.jsonl", mode, encoding="utf-8") as journal:
            journal.write(text)

    def test_streams_the_journal_as_it_grows(self):
        with ServedSet() as served, served.follow() as page:
            self.assertTrue(page.find("journal", lambda _: True)["fresh"])
            served.kura("fix", "1001")
            found = page.find("journal", lambda news: any(entry.get("key") == "db/menu/picture/backlight" and
                                                          entry.get("op") == "set_int" for entry in news["entries"]))
            self.assertFalse(found["fresh"])

    def test_copes_with_what_a_journal_may_hold(self):
        with ServedSet() as served:
            self.write(served, '{"kind":"first"}\n')
            with served.follow() as page:
                begun = page.find("journal", lambda _: True)
                self.assertEqual(begun, {"fresh": True, "entries": [{"kind": "first"}]})
                self.write(served, '{"kind":"half')
                self.write(served, '"}\nno json\n[1]\n')
                entries = []
                while len(entries) < 3:
                    entries += page.find("journal", lambda _: True)["entries"]
                self.assertEqual(entries, [{"kind": "half"}, {"kind": "damaged"}, {"kind": "damaged"}])
                self.write(served, '{"kind":"anew"}\n', mode="w")
                self.assertEqual(page.find("journal", lambda _: True), {"fresh": True, "entries": [{"kind": "anew"}]})
                self.write(served, "x" * 200_000 + '\n{"kind":"after"}\n')
                entries = []
                while not entries or entries[-1] != {"kind": "after"}:
                    entries += page.find("journal", lambda _: True)["entries"]
                self.assertEqual(entries, [{"kind": "damaged"}, {"kind": "after"}])

    def test_shows_the_end_of_a_long_journal(self):
        with ServedSet() as served:
            self.write(served, "".join(json.dumps({"kind": "log", "number": n}) + "\n" for n in range(50_000)))
            with served.follow() as page:
                entries = page.find("journal", lambda _: True)["entries"]
            numbers = [entry["number"] for entry in entries]
            self.assertEqual(numbers, list(range(50_000 - len(numbers), 50_000)))
            self.assertTrue(1000 < len(numbers) < 50_000)

    def test_limits_the_pages_and_gives_their_places_back(self):
        with ServedSet() as served:
            pages = [served.follow() for _ in range(8)]
            for page in pages:
                self.assertEqual(page.status, 200)
            refused = served.get("api/events")
            self.assertEqual((refused.status, refused.kind), (503, "busy"))
            self.assertEqual(served.get("api/state").status, 200)
            pages.pop().close()

            def follows_again():
                with served.follow() as page:
                    return page.status == 200

            until("a place is free again", follows_again)
            for page in pages:
                page.close()


class FollowTest(unittest.TestCase):
    """Screens that show an older set are marked, however the set has changed."""

    def stale(self, served):
        return {name for name, screen in served.state()["screens"].items() if screen["stale"]}

    def marks(self, served, *screens):
        until(f"marked: {screens}", lambda: self.stale(served) == set(screens))

    def test_marks_the_filled_screens_when_anybody_changes_the_set(self):
        def replace(path):
            path.with_suffix(".new").write_bytes(path.read_bytes())
            path.with_suffix(".new").replace(path)

        with ServedSet() as served:
            files = served.set / "files/opt/usr/share/TVKuraHelp"
            changes = {
                "a repair": lambda: served.kura("fix", "1001"),
                "a setting": lambda: served.kura("settings", "set", "db/x", "3"),
                "the description": lambda: served.kura("set", "put", "model", '"New"'),
                "a report of the engine": lambda: served.kura("engine", "report", "1001"),
                "the map": lambda: replace(files / "SolutionMap.xml"),
                "a text": lambda: replace(served.set / "texts/en.json"),
            }
            for name, change in changes.items():
                with self.subTest(change=name):
                    served.post("problems")
                    self.assertEqual(self.stale(served), set())
                    change()
                    self.marks(served, "home")
            self.assertEqual(served.state()["set"]["model"], "New")

    def test_marks_the_start_screen_when_another_process_diagnoses(self):
        with ServedSet() as served:
            served.kura("storage")
            served.post("problems")
            served.kura("diagnose")
            self.marks(served, "home", "start")
            self.assertIsNone(served.state()["screens"]["start"]["document"])

    def test_its_own_calls_mark_the_other_screens_alone(self):
        with ServedSet() as served:
            for verb in ("problems", "diagnose"):
                served.post(verb)
            self.assertEqual(self.stale(served), {"home"})
            for verb in ("storage", "apps", "problems"):
                served.post(verb)
            self.assertEqual(self.stale(served), set())
            version = served.state()["version"]
            time.sleep(1)
            self.assertEqual(served.state()["version"], version)
            served.post("fix", {"code": "1001"})
            self.assertEqual(self.stale(served), {"apps", "home", "start", "storage"})

    def test_marks_a_screen_that_was_changed_while_it_was_filled(self):
        with ServedSet(description=SLOW) as served:
            call = threading.Thread(target=served.post, args=("diagnose",))
            call.start()
            until("the call runs", lambda: served.state()["running"])
            served.kura("settings", "set", "db/x", "3")
            call.join()
            self.marks(served, "start")
            served.post("diagnose")
            self.assertEqual(self.stale(served), set())


class IconTest(unittest.TestCase):
    ICON = "files/opt/usr/apps/org.vesta.streambox/shared/res/304x304.png"

    def test_shows_listed_pictures_and_no_other_file(self):
        with ServedSet() as served:
            icon = served.set / self.ICON
            path = "api/icon?app=org.vesta.streambox"
            self.assertEqual(served.get(path).status, 404, "no list yet")
            icon.write_bytes(png())
            self.assertEqual(served.post("apps").status, 200)
            answer = served.get(path)
            self.assertEqual((answer.status, answer.headers["Content-Type"]), (200, "image/png"))
            self.assertEqual(answer.body, png())
            for app in ("", "org.vesta.radio", "no.such.app", "../../set.json", "%2Fetc%2Fpasswd"):
                self.assertEqual(served.get(f"api/icon?app={app}").status, 404)

    def test_follows_no_link_out_of_the_set_and_sends_pictures_alone(self):
        with ServedSet() as served:
            icon = served.set / self.ICON
            served.post("apps")
            path = "api/icon?app=org.vesta.streambox"
            outside = served.folder / "outside.png"
            outside.write_bytes(png())
            icon.unlink()
            icon.symlink_to(outside)
            self.assertEqual(served.get(path).status, 404)
            icon.unlink()
            self.assertEqual(served.get(path).status, 404)
            icon.mkdir()
            self.assertEqual(served.get(path).status, 404)
            icon.rmdir()
            for content in (b"", b"<svg/>", png() + b"\0" * 1024 * 1024):
                icon.write_bytes(content)
                self.assertEqual(served.get(path).status, 404)


class TextsTest(unittest.TestCase):
    def test_every_language_has_every_text_that_the_page_uses(self):
        texts = {path.stem: json.loads(path.read_text("utf-8")) for path in (PAGE / "texts").glob("*.json")}
        self.assertEqual(set(texts), {"de", "en"})
        self.assertEqual(set(texts["de"]), set(texts["en"]))
        code = "".join(path.read_text("utf-8") for path in PAGE.glob("*.js"))
        used = set(re.findall(r'\btext\(\s*"([a-z][a-z.-]*)"', code))
        self.assertGreater(len(used), 30)
        self.assertEqual(used - set(texts["en"]), set())
        for key, words in texts["en"].items():
            self.assertEqual(set(re.findall(r"\{\w+\}", words)), set(re.findall(r"\{\w+\}", texts["de"][key])), key)

    def test_the_page_asks_nobody_else(self):
        for path in PAGE.rglob("*.*"):
            found = re.findall(r"https?://[^\s\"']+", path.read_text("utf-8"))
            self.assertEqual([address for address in found if address != "http://www.w3.org/2000/svg"], [], path)


if __name__ == "__main__":
    unittest.main(verbosity=2)
