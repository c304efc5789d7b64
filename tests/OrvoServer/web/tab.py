"""A headless browser and its tabs."""

import http.server
import json
import os
import sys
import threading
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "support"))

from devtools import LIMIT, DevTools, Failure, expect, wait_for  # noqa: E402, F401: the module is in another folder.


class Site:
    """A web page that embeds the player."""

    def __init__(self, embed, host="127.0.0.1"):
        body = f"<!doctype html><title>Curso</title>{embed}".encode()

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                self.send_response(200)
                self.send_header("Content-Type", "text/html; charset=utf-8")
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer((host, 0), Handler)
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        self.origin = f"http://{host}:{self.server.server_port}"


class Browser(DevTools):
    """Resolves http://video.test to loopback, since that, unlike 127.0.0.1, is not a secure context."""

    def __init__(self, folder):
        super().__init__(
            ["chromium", "--headless=new", "--no-sandbox", f"--user-data-dir={folder}/profile", "--no-first-run",
             "--password-store=basic", "--disable-gpu", "--disable-dev-shm-usage", "--host-resolver-rules=MAP video.test 127.0.0.1",
             "--autoplay-policy=no-user-gesture-required"],
            {**os.environ, "HOME": str(folder), "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"})


class Tab:
    """A tab with a size, a language and a script that runs before the page's own. Keeps the errors of the page."""

    def __init__(self, browser, address, *, width=1280, height=720, scheme="dark", language="es-ES", before="", touch=False):
        self.browser = browser
        self.target = browser.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = browser.attach(self.target)
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(f"{domain}.enable")
        self.call("Target.setAutoAttach", autoAttach=True, waitForDebuggerOnStart=False, flatten=True)
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=touch)
        self.call("Emulation.setTouchEmulationEnabled", enabled=touch)
        self.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.call("Emulation.setUserAgentOverride", userAgent="Mozilla/5.0 (X11; Linux x86_64) Chrome", acceptLanguage=language)
        if before:
            self.call("Page.addScriptToEvaluateOnNewDocument", source=before)
        self.go(address)

    def go(self, address):
        self.call("Page.navigate", url=address)
        self.browser.wait_for("Page.loadEventFired", self.session)

    def watch(self, session=None):
        self.run("new Promise((done) => { const look = () => document.querySelector('video') ? done() : setTimeout(look, 20); look(); })",
                 session)
        self.run((HERE / "watching.js").read_text(), session)

    def press(self, *keys):
        for key in keys:
            self.call("Input.dispatchKeyEvent", type="keyDown", key=key, **({"text": key} if len(key) == 1 else {}))
            self.call("Input.dispatchKeyEvent", type="keyUp", key=key)

    def click(self, selector):
        x, y = self.run(f"(() => {{ const box = document.querySelector({json.dumps(selector)}).getBoundingClientRect(); "
                        "return [box.left + box.width / 2, box.top + box.height / 2]; })()")
        self.click_at(x, y)

    def click_at(self, x, y):
        for kind, button in (("mouseMoved", "none"), ("mousePressed", "left"), ("mouseReleased", "left")):
            self.call("Input.dispatchMouseEvent", type=kind, x=x, y=y, button=button, clickCount=0 if button == "none" else 1)

    def start(self):
        """Starts playback with the large button."""
        self.click(".big")
        self.run("watching.played(0.5)")

    def events(self, *methods):
        return [event["params"] for event in self.browser.events
                if event.get("sessionId") == self.session and event["method"] in methods]

    def expect_quiet(self):
        """Checks that there were no exceptions, no violations of the content security policy and no requests to other origins."""
        broken = [event["exceptionDetails"].get("exception", {}).get("description") for event in self.events("Runtime.exceptionThrown")]
        expect(not broken, f"exceptions {broken}")
        stopped = [event["entry"]["text"] for event in self.events("Log.entryAdded") if event["entry"]["source"] == "security"]
        expect(not stopped, f"blocked by the policy: {stopped}")
        here = self.run("location.origin")
        asked = {event["request"]["url"] for event in self.events("Network.requestWillBeSent")}
        foreign = [url for url in asked if not url.startswith((here + "/", "blob:", "data:"))]
        expect(not foreign, f"requests to other origins: {foreign}")

    def close(self):
        self.browser.call("Target.closeTarget", targetId=self.target)

    def call(self, method, **parameters):
        return self.browser.call(method, self.session, **parameters)

    def frame_session(self):
        """Returns the session of the cross-site frame after its document has loaded."""
        session = self.browser.wait_for("Target.attachedToTarget", self.session)["sessionId"]

        def is_loaded():
            try:
                return self.run("document.readyState === 'complete' && location.href !== 'about:blank'", session)
            except Failure:
                return False  # The frame is navigating.

        wait_for("the document of the frame", is_loaded)
        return session

    def run(self, script, session=None):
        """Runs a script; returns the value of its promise."""
        return self.browser.run(script, session or self.session)


def find_barriers(tab, what, session=None):
    found = tab.run("axe.run(document, { resultTypes: ['violations'] }).then(({ violations }) => violations.map(({ id, nodes }) => "
                    "[id, ...nodes.map(({ target, failureSummary }) => `${target}: ${failureSummary}`)]))", session)
    expect(not found, f"{what}: {json.dumps(found, indent=1, ensure_ascii=False)}")


def appears(tab, selector, text=""):
    return tab.run(f"""new Promise((done) => {{
        const look = () => {{
            const found = document.querySelector({json.dumps(selector)});
            if (found && found.textContent.includes({json.dumps(text)})) done(found.textContent);
            else setTimeout(look, 20);
        }};
        look();
    }})""")
