"""A Chromium controlled over a pipe with the DevTools protocol."""

import fcntl
import json
import os
import select
import signal
import subprocess
import time

LIMIT = 240  # Seconds. Generous, for a loaded machine.


def expect(holds, text):
    if not holds:
        raise SystemExit(f"FAILED: {text}")


def wait_for(what, condition):
    """Waits until the condition is truthy, and returns its value."""
    end = time.monotonic() + LIMIT
    while not (result := condition()):
        expect(time.monotonic() < end, f"waited too long for {what}")
        time.sleep(0.1)
    return result


class Failure(Exception):
    """An error reported by a page or by the browser."""


class DevTools:
    """A browser started with this command line in its own process group."""

    def __init__(self, words, environment):
        commands, self.output = _pipe()
        self.input, answers = _pipe()
        # The browser reads from descriptor 3 and writes to descriptor 4.
        self.process = subprocess.Popen(
            ["bash", "-c", f'exec "$@" 3<&{commands} 4>&{answers} {commands}<&- {answers}>&-', "bash",
             *words, "--remote-debugging-pipe"],
            pass_fds=[commands, answers], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True,
            env=environment)
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
        """Returns the result of a command. Keeps events that arrive before it."""
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
        """Returns the next event of this name that no earlier call has returned."""
        end = time.monotonic() + LIMIT
        at = 0
        while True:
            for at in range(at, len(self.events)):
                event = self.events[at]
                if event.get("method") == method and event.get("sessionId") == session:
                    return self.events.pop(at)["params"]
            at = len(self.events)
            self.events.append(self._receive(end, method))

    def attach(self, target):
        """Returns the session of a target."""
        return self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]

    def run(self, script, session):
        """Runs a script in a page or a worker. Returns the value of its promise."""
        outcome = self.call("Runtime.evaluate", session, expression=script, awaitPromise=True, returnByValue=True)
        if problem := outcome.get("exceptionDetails"):
            raise Failure(problem.get("exception", {}).get("description") or problem["text"])
        return outcome["result"].get("value")

    def _receive(self, end, what):
        while b"\0" not in self.received:
            ready, _, _ = select.select([self.input], [], [], max(0, end - time.monotonic()))
            piece = os.read(self.input, 1 << 20) if ready else b""
            if not piece:
                raise Failure(f"{what}: the browser does not answer")
            self.received += piece
        message, self.received = self.received.split(b"\0", 1)
        return json.loads(message)


def _pipe():
    """A pipe whose descriptors are above those that the browser inherits."""
    low = os.pipe()
    high = [fcntl.fcntl(end, fcntl.F_DUPFD_CLOEXEC, 10) for end in low]
    for end in low:
        os.close(end)
    return high
