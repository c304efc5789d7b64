"""A browser without windows that is spoken to over a pipe, in the protocol of its developer tools."""

import fcntl
import json
import os
import select
import signal
import subprocess
import time

LIMIT = 120  # Seconds that anything may take on a loaded machine.


class Failure(Exception):
    """What the page, or the browser, says has gone wrong."""


def pipe():
    """Two ends beyond the descriptors that the browser gets."""
    low = os.pipe()
    high = [fcntl.fcntl(end, fcntl.F_DUPFD_CLOEXEC, 10) for end in low]
    for end in low:
        os.close(end)
    return high


class Chromium:
    """Trusts, besides the usual ones, the certificate whose public key has the digest `trusted` (SHA-256, base64)."""

    def __init__(self, folder, trusted):
        commands, self.output = pipe()
        self.input, answers = pipe()
        words = ["chromium", "--headless=new", "--no-sandbox", "--remote-debugging-pipe", f"--user-data-dir={folder}/profile",
                 f"--ignore-certificate-errors-spki-list={trusted}", "--no-first-run", "--password-store=basic", "--disable-gpu",
                 "--autoplay-policy=no-user-gesture-required", "--disable-dev-shm-usage"]
        # It reads from its third descriptor and writes to its fourth.
        self.process = subprocess.Popen(
            ["bash", "-c", f'exec "$@" 3<&{commands} 4>&{answers} {commands}<&- {answers}>&-', "bash", *words],
            pass_fds=[commands, answers], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True,
            env={**os.environ, "HOME": str(folder), "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"})
        os.close(commands)
        os.close(answers)
        self.received = b""
        self.number = 0
        self.events = []

    def close(self):
        try:
            os.killpg(self.process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        self.process.wait()
        os.close(self.output)
        os.close(self.input)

    def call(self, method, session=None, **parameters):
        """The result of a command. Events that come before it are kept."""
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters, **({"sessionId": session} if session else {})}
        os.write(self.output, json.dumps(message).encode() + b"\0")
        end = time.monotonic() + LIMIT
        while True:
            answer = self._receive(end, method)
            if answer.get("id") == self.number:
                if "error" in answer:
                    raise Failure(f"{method}: {answer['error']}")
                return answer["result"]
            self.events.append(answer)

    def wait_for(self, method, session):
        """The next event of this name that was not waited for yet."""
        end = time.monotonic() + LIMIT
        at = 0
        while True:
            for at in range(at, len(self.events)):
                event = self.events[at]
                if event.get("method") == method and event.get("sessionId") == session:
                    return self.events.pop(at)["params"]
            at = len(self.events)
            self.events.append(self._receive(end, method))

    def _receive(self, end, what):
        while b"\0" not in self.received:
            ready, _, _ = select.select([self.input], [], [], max(0, end - time.monotonic()))
            piece = os.read(self.input, 1 << 20) if ready else b""
            if not piece:
                raise Failure(f"{what}: the browser does not answer")
            self.received += piece
        message, self.received = self.received.split(b"\0", 1)
        return json.loads(message)


class Page:
    """A tab at an address, whose load is complete; frames of other sites included."""

    def __init__(self, browser, address):
        self.browser = browser
        self.target = browser.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = browser.call("Target.attachToTarget", targetId=self.target, flatten=True)["sessionId"]
        self.call("Page.enable")
        self.call("Target.setAutoAttach", autoAttach=True, waitForDebuggerOnStart=False, flatten=True)
        self.call("Page.navigate", url=address)
        browser.wait_for("Page.loadEventFired", self.session)

    def close(self):
        self.browser.call("Target.closeTarget", targetId=self.target)

    def call(self, method, **parameters):
        return self.browser.call(method, self.session, **parameters)

    def frame_session(self):
        """The session of the frame from another site, when its document is complete: its own, or the browser's in place of it."""
        session = self.browser.wait_for("Target.attachedToTarget", self.session)["sessionId"]
        end = time.monotonic() + LIMIT
        while not self.run("location.href !== 'about:blank' && document.readyState === 'complete'", session):
            if time.monotonic() > end:
                raise Failure("the frame stays empty")
            time.sleep(0.05)
        return session

    def run(self, script, session=None):
        """What the script's promise comes to."""
        outcome = self.browser.call("Runtime.evaluate", session or self.session, expression=script, awaitPromise=True,
                                    returnByValue=True)
        if problem := outcome.get("exceptionDetails"):
            raise Failure(problem.get("exception", {}).get("description") or problem["text"])
        return outcome["result"].get("value")
