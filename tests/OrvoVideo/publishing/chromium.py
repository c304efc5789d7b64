"""A browser without windows that shows a publication."""

import os
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "support"))

from devtools import LIMIT, DevTools, Failure  # noqa: E402: it lies in another folder.


class Chromium(DevTools):
    """Trusts, besides the usual ones, the certificate whose public key has the digest `trusted` (SHA-256, base64)."""

    def __init__(self, folder, trusted):
        super().__init__(
            ["chromium", "--headless=new", "--no-sandbox", f"--user-data-dir={folder}/profile",
             f"--ignore-certificate-errors-spki-list={trusted}", "--no-first-run", "--password-store=basic", "--disable-gpu",
             "--autoplay-policy=no-user-gesture-required", "--disable-dev-shm-usage"],
            {**os.environ, "HOME": str(folder), "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"})


class Page:
    """A tab at an address, whose load is complete; frames of other sites included."""

    def __init__(self, browser, address):
        self.browser = browser
        self.target = browser.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = browser.attach(self.target)
        self.call("Page.enable")
        self.call("Target.setAutoAttach", autoAttach=True, waitForDebuggerOnStart=False, flatten=True)
        self.call("Page.navigate", url=address)
        browser.wait_for("Page.loadEventFired", self.session)

    def close(self):
        self.browser.call("Target.closeTarget", targetId=self.target)

    def call(self, method, **parameters):
        return self.browser.call(method, self.session, **parameters)

    def frame_session(self):
        """The session of the frame from another site; its document is loaded, whatever it is."""
        session = self.browser.wait_for("Target.attachedToTarget", self.session)["sessionId"]
        end = time.monotonic() + LIMIT
        while time.monotonic() < end:
            try:
                if self.run("document.readyState === 'complete' && location.href !== 'about:blank'", session):
                    break
            except Failure:
                pass  # It goes from one document to the next.
            time.sleep(0.1)
        return session

    def run(self, script, session=None):
        """What the script's promise comes to."""
        return self.browser.run(script, session or self.session)
