"""Tests the publishing server's pages in a real browser.

in_browser.py CASE PACKAGE WEB_FOLDER PLAYER_FOLDER

The stand-in serves PACKAGE. end_to_end.py runs `plays` against a real server.
"""

import json
import shutil
import sys
import tempfile
from pathlib import Path

from film import SECONDS, colour_at, spoken_at, words
from stand_in import VIDEO, StandIn
from tab import Browser, Site, Tab, expect, find_barriers, wait_for

DENIED = """Object.defineProperty(window, "localStorage", { get() { throw new DOMException("Denied", "SecurityError"); } });"""
NO_MEDIA_SOURCE = "delete window.MediaSource; delete window.ManagedMediaSource; delete window.WebKitMediaSource;"


def check_frame(tab, moment, session=None):
    tab.run("watching.settled()", session)
    shown = tab.run(f"watching.until(() => watching.colour() === '{colour_at(moment)}', 'the colour at {moment}')", session)
    expect(shown, f"wrong frame at {moment} s")


def plays(world):
    """Plays, shows phrases, seeks, changes the quality, handles keys and the transcript, and resumes at its position."""
    tab = world.tab("embed")
    tab.watch()
    expect(tab.run("watching.until(() => document.querySelector('.end').textContent)") == f"1:{SECONDS - 60:02}", "the duration is missing")
    tab.start()
    check_frame(tab, 1)

    # Captions: at most two lines, with the spoken word marked.
    tab.run("watching.video.pause()")
    for moment in (3.5, 5.1, 31.0, 61.5):
        tab.run(f"watching.video.currentTime = {moment}")
        check_frame(tab, moment)
        word = tab.run("watching.until(() => document.querySelector('.captions .spoken')?.textContent)")
        expect(word == spoken_at(moment), f"{word} is marked at {moment} s instead of {spoken_at(moment)}")
        lines = tab.run("watching.phrase()")
        expect(1 <= len(lines) <= 2 and max(map(len, lines)) <= 42, f"the lines are {lines}")
        expect(word in " ".join(lines).split(), f"{word} is not in {lines}")
    expect(lines[0].startswith("Y eso es todo: tres < cuatro"), f"the text is {lines}")

    # Keys.
    tab.press("5")
    check_frame(tab, SECONDS / 2)
    tab.press("ArrowRight", "j", "ArrowRight", "ArrowRight")
    check_frame(tab, SECONDS / 2 + 5)
    tab.press("k")
    tab.run("watching.played(0.3)")
    tab.press(" ")
    expect(tab.run("watching.video.paused"), "the space bar does not pause")
    tab.press("m")
    tab.run("watching.until(() => watching.video.muted && watching.button('Activar el sonido'), 'the muted state')")
    tab.press("ArrowDown", "ArrowUp")
    tab.run("watching.until(() => !watching.video.muted && watching.button('Silenciar'), 'the unmuted state')")
    tab.press(">")
    expect(tab.run("watching.video.playbackRate") == 1.25, "the speed has not changed")
    tab.press("c")
    expect(tab.run("watching.phrase()") == [], "the captions are still shown")
    tab.press("c")

    # The menu, with the keyboard.
    tab.run("watching.button('Ajustes').focus()")
    tab.run("watching.button('Ajustes').click()")
    tab.press("ArrowDown", "ArrowRight")
    qualities = tab.run("[...document.querySelectorAll('.menu [role=menuitemradio] .label')].map((label) => label.textContent)")
    expect(qualities[:2] == ["720p", "480p"], f"the qualities are {qualities}")
    for height in (480, 720):
        tab.run(f"[...document.querySelectorAll('.menu [role=menuitemradio]')].find((one) => one.textContent === '{height}p').click()")
        tab.run(f"watching.video.play(), watching.until(() => watching.video.videoHeight === {height}, '{height} lines')")
        tab.press("ArrowRight")
    tab.press("Escape", "Escape")
    expect(tab.run("document.querySelector('.menu').hidden && document.activeElement.classList.contains('settings')"), "the menu is open")

    # The transcript: a search without accents, and a click.
    tab.run("watching.video.pause()")
    tab.press("t")
    tab.call("Input.insertText", text="pagina de un")
    expect(tab.run("watching.until(() => document.querySelector('.count').textContent)") == "1 de 1", "the search finds nothing")
    found = tab.run("[...document.querySelectorAll('.found')].map((word) => word.textContent)")
    expect(found == ["página", "de", "un"], f"found {found}")
    tab.click(".found")
    start = next(start for start, _, text in words() if text == "página")
    tab.run(f"watching.until(() => Math.abs(watching.video.currentTime - {start}) < 0.05)")

    # The seek bar, with the pointer: the bubble, and a position near the end.
    tab.press("Escape", "Escape")
    x, y, width = tab.run("(() => { const box = document.querySelector('.seek').getBoundingClientRect(); "
                          "return [box.left, box.top + box.height / 2, box.width]; })()")
    tab.click_at(x + width * 0.815, y)
    check_frame(tab, SECONDS * 0.815)
    expect(tab.run("document.querySelector('.bubble span').textContent") == "1:13", "the bubble shows another time")
    tab.run("watching.until(() => document.querySelector('.bubble video.shown'), 'the preview')")

    # Position and settings persist; reports contain only played tenths.
    tab.go(tab.run("location.href"))
    tab.watch()
    position = tab.run("watching.until(() => document.querySelector('.now').textContent)")
    expect(position == "1:13", f"resumes at {position}")
    tab.start()
    check_frame(tab, SECONDS * 0.82)
    expect(tab.run("watching.video.playbackRate") == 1.25, "the speed is forgotten")
    tab.expect_quiet()
    if world.server:
        wait_for("a report", lambda: world.server.beats)
        tenths = {tenth for beat in world.server.beats for tenth in beat["tenths"]}
        expect(tenths and tenths <= set(range(10)) and 9 not in tenths, f"the tenths {tenths}")
        expect(all(set(beat) == {"grant", "view", "tenths"} for beat in world.server.beats), "a report says more than it should")


def splits_phrases(world):
    """Phrases contain every word once, in order, on at most two lines, and do not overlap."""
    tab = world.tab("embed")
    module = tab.run("[...document.querySelectorAll('link')].find((one) => one.href.endsWith('/captions.js')).href")
    texts = {
        "sentences": " ".join(f"Esta es la frase número {number}, que tiene una coma y un final." for number in range(40)),
        "no punctuation": " ".join(["palabra", "y", "otra", "extraordinariamente"] * 120),
        "a word longer than a line": "Antes " + "electroencefalografista" * 4 + " después.",
        "one": "Sí.",
        "none": "",
    }
    for name, text in texts.items():
        said = [(0.3 * at + (2 if at > 7 else 0), 0.3 * at + (2 if at > 7 else 0) + 0.25, word) for at, word in enumerate(text.split())]
        document = "WEBVTT\n\n" + "\n".join(
            f"{at}\n{int(start // 3600):02}:{int(start // 60) % 60:02}:{start % 60:06.3f} --> {int(end // 3600):02}:{int(end // 60) % 60:02}:{end % 60:06.3f}\n{word}\n"
            for at, (start, end, word) in enumerate(said, 1))
        outcome = tab.run(f"import('{module}').then(({{ wordsOf, phrasesOf, paragraphsOf }}) => {{ const words = wordsOf({json.dumps(document)}); "
                          "return { words, phrases: phrasesOf(words), paragraphs: paragraphsOf(words) }; })")
        expect([word["text"] for word in outcome["words"]] == text.split(), f"{name}: wrong words")
        for kind in ("phrases", "paragraphs"):
            covered = [at for one in outcome[kind] for at in range(one["first"], one["last"] + 1)]
            expect(covered == list(range(len(said))), f"{name}: the {kind} do not contain every word once")
        shown = outcome["phrases"]
        for one, following in zip(shown, shown[1:] + [None]):
            lines = [text.split()[one["first"]:(one["second"] or one["last"] + 1)], text.split()[one["second"]:one["last"] + 1] if one["second"] else []]
            longest = max(len(" ".join(line)) for line in lines)
            expect(longest <= 42 or one["first"] == one["last"], f"{name}: a line of {longest} characters")
            expect(one["start"] < one["end"] and (not following or one["end"] <= following["start"]), f"{name}: {one} overlaps {following}")
        lonely = [one for one in shown[:-1] if one["first"] == one["last"]]
        expect(not lonely or name == "a word longer than a line", f"{name}: phrases of one word {lonely}")


def renews_tickets(world):
    """Tickets expire during playback, also early, and renewals fail for a while: playback is not interrupted."""
    server = world.server
    server.life, server.real_life, server.delay = 6, 3.5, 1.5
    tab = world.tab("embed")
    tab.watch()
    tab.start()
    tab.run("Object.assign(watching.seen, { spinner: 0 })")  # Ignores the wait for the first segment.
    tab.run("watching.played(4)")
    server.renewal = 503
    tab.run("watching.played(3)")
    server.renewal = 200
    tab.run("watching.played(5)")
    seen = tab.run("watching.seen")
    print(f"{server.renewals} renewals, {server.refused} refusals, {seen}")
    expect(server.renewals >= 3 and server.refused >= 1, "no ticket expired")
    expect(seen == {"spinner": 0, "message": 0, "pauses": 0}, f"playback was interrupted: {seen}")
    tab.press("8")
    check_frame(tab, SECONDS * 0.8 + 0.5)
    tab.expect_quiet()


def survives_sleep(world):
    """After a long sleep all tickets have expired; playback continues, also at a position that was not fetched."""
    server = world.server
    tab = world.tab("embed")
    tab.watch()
    tab.start()
    tab.run("watching.video.pause()")
    server.tickets = dict.fromkeys(server.tickets, 0)
    tab.press("9")
    check_frame(tab, SECONDS * 0.9)
    tab.press("k")
    tab.run("watching.played(1)")
    expect(server.refused >= 1 and tab.run("watching.seen.message") == 0, "no ticket expired, or the player showed a message")


def stops_when_withdrawn(world):
    """The video is withdrawn during playback: the player stops with the message that the server shows for unknown videos."""
    server = world.server
    server.life = 6
    tab = world.tab("embed")
    tab.watch()
    tab.start()
    server.renewal = 403
    line = tab.run("watching.until(() => !document.querySelector('.message').hidden && document.querySelector('.message .line').textContent)")
    expect(line == "Este vídeo no está disponible.", line)
    expect(tab.run("watching.video.paused && document.querySelector('[role=alert] .line') !== null"), "it still plays")
    asked = len(server.requests)
    tab.press("k", "5", "l")
    tab.run("new Promise((done) => setTimeout(done, 300))")
    expect(not [one for one in server.requests[asked:] if "/m/" in one[1]], "the player still fetches media")
    other = world.tab(f"embed/{VIDEO[:-1]}0")
    expect(line in other.run("document.body.innerText"), "the server's page has another message")


def reconnects(world):
    """Without a connection the player shows a message when the buffer ends, and continues by itself when it is back."""
    server = world.server
    tab = world.tab("embed")
    tab.watch()
    tab.start()
    server.media_away, server.renewal = True, 503
    tab.press("9")
    tab.run("watching.until(() => !document.querySelector('.message').hidden)")
    expect("conexión" in tab.run("document.querySelector('.message').innerText"), "wrong message")
    server.media_away, server.renewal = False, 200
    check_frame(tab, SECONDS * 0.9)
    tab.run("watching.until(() => document.querySelector('.message').hidden)")


def plays_without_storage(world):
    tab = world.tab("embed", before=DENIED)
    tab.watch()
    tab.start()
    tab.press("c", "m", ">", "5")
    check_frame(tab, SECONDS / 2)
    tab.expect_quiet()


def plays_over_http(world):
    """Without crypto.subtle, as over plain http, the player still decrypts the film."""
    tab = world.tab(world.address("embed").replace("127.0.0.1", "video.test"))
    tab.watch()
    expect(tab.run("!isSecureContext && !globalThis.crypto.subtle"), "the page is a secure context")
    tab.start()
    tab.press("5")
    check_frame(tab, SECONDS / 2)
    tab.expect_quiet()


def plays_in_sandbox(world):
    """Plays in a frame that allows only scripts, whose origin is "null"."""
    site = Site(f'<iframe sandbox="allow-scripts" src="{world.address("embed")}" width="640" height="360"></iframe>', "localhost")
    world.server.life, world.server.real_life = 4, 3
    tab = world.tab(f"{site.origin}/")
    frame = tab.frame_session()
    tab.watch(frame)
    expect(tab.run("self.origin", frame) == "null", "the frame has an origin")
    tab.run("document.querySelector('.big').click(), watching.played(1)", frame)
    check_frame(tab, 1.5, frame)
    wait_for("a renewal", lambda: world.server.renewals)
    tab.run("document.querySelectorAll('.skip')[1].click(), watching.settled()", frame)
    tab.run("watching.until(() => watching.video.currentTime > 10 && watching.colour() === 'lime')", frame)


def plays_native_hls(world):
    """Without Media Source, the browser's native HLS plays and is reloaded at its position after each renewal."""
    server = world.server
    # A slow machine must open the film within the life of one ticket, since each renewal opens it again.
    server.life, server.real_life, server.delay = 15, 15, 1
    tab = world.tab("embed", before=NO_MEDIA_SOURCE)
    tab.watch()
    if not tab.run("watching.video.canPlayType('application/vnd.apple.mpegurl')"):
        raise SystemExit(77)
    tab.start()
    tab.press("5")
    check_frame(tab, SECONDS / 2)
    tab.run("watching.until(() => watching.video.currentTime > 60)")
    check_frame(tab, tab.run("watching.video.pause(), watching.video.currentTime"))
    expect(server.renewals >= 1, "no ticket was renewed")


def passes_axe(world):
    """Both pages in both schemes and in both sizes; the colours of a scheme do not depend on the size."""
    axe = (world.player / "axe.min.js").read_text()
    for kind, scheme, width, height in (("embed", "dark", 1280, 720), ("embed", "light", 360, 640),
                                        ("watch", "light", 1280, 720), ("watch", "dark", 360, 640)):
        where = f"{kind}, {scheme}, {width}×{height}"
        tab = world.tab(kind, scheme=scheme, width=width, height=height)
        tab.watch()
        tab.run("watching.until(() => !watching.button('Transcripción').hidden)")
        tab.run(axe)
        find_barriers(tab, f"{where}, before")
        tab.start()
        tab.run("watching.video.pause(), watching.button('Ajustes').click()")
        find_barriers(tab, f"{where}, menu")
        tab.press("ArrowRight")
        find_barriers(tab, f"{where}, speeds")
        tab.press("Escape")
        tab.press("t")
        tab.call("Input.insertText", text="un")
        find_barriers(tab, f"{where}, transcript")
        tab.press("Escape", "Escape")
        tab.run("document.activeElement.blur()")
        tab.press("?")
        find_barriers(tab, f"{where}, keys")
        tab.close()
        tab = world.tab("embed/none", scheme=scheme, width=width, height=height)
        tab.run(axe)
        find_barriers(tab, f"unavailable, {where}")
        tab.close()


class World:
    """A browser and a server: the stand-in, or the real one at `address`, which has published `video`."""

    def __init__(self, package, web, player, address=None, video=VIDEO):
        self.player, self.video = Path(player), video
        self.folder = Path(tempfile.mkdtemp(prefix="orvo-pages-"))
        self.server = None if address else StandIn(package, web, self.player / "hls.light.min.js")
        self.base = (address or self.server.address).rstrip("/")
        self.browser = Browser(self.folder)

    def close(self):
        self.browser.close()
        if self.server:
            self.server.close()
        shutil.rmtree(self.folder, ignore_errors=True)

    def address(self, page):
        return f"{self.base}/{page}/{self.video}"

    def tab(self, page, **options):
        address = page if "://" in page else self.address(page) if page in ("embed", "watch") else f"{self.base}/{page}"
        return Tab(self.browser, address, **options)


def main():
    case = globals()[sys.argv[1]]
    world = World(*sys.argv[2:])
    try:
        case(world)
    finally:
        world.close()


if __name__ == "__main__":
    main()
