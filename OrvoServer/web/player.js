import { Beats } from "./beats.js";
import { phrasesOf, wordsOf } from "./captions.js";
import { Controls, SPEEDS } from "./controls.js";
import { announcer, clock, element, icon } from "./dom.js";
import { listenToKeys } from "./keyboard.js";
import { keepPlace, placeOf, recall, remember } from "./memory.js";
import { Overlays } from "./overlays.js";
import { Phrases } from "./phrases.js";
import { MediaSourceStream, NativeStream } from "./stream.js";
import { language, text } from "./texts.js";
import { Ticket } from "./ticket.js";
import { Transcript } from "./transcript.js";

const IDLE = 2800; // Milliseconds without movement after which the controls hide during playback.
const DOUBLE_TAP = 300; // Milliseconds.
const FRAME = 1 / 30; // Seconds of one step; the package does not contain its frame rate.

class Player {
  #started = false;
  #refreshing = 0;
  #idleTimer = 0;
  #busyTimer = 0;
  #tap = null;
  #trouble = null;
  #kept = 0;

  constructor(config, host) {
    this.config = config;
    this.revision = config.revision;
    this.ticket = new Ticket(config);
    this.place = this.#placeOfAddress() ?? placeOf(config.video);
    this.video = element("video", { playsinline: true, "webkit-playsinline": true, preload: "none", tabindex: "-1",
      "aria-label": config.title, poster: this.ticket.url("poster.jpg") });
    this.stage = element("div", { class: "stage" });
    this.root = element("div", { class: "orvo", "data-state": "idle", "data-size": recall("size", "medium"), role: "region",
      "aria-label": text("player") }, this.stage);
    host.append(this.root);
    if (MediaSourceStream.supported) this.stream = new MediaSourceStream(this.video, this.ticket);
    else if (NativeStream.supported(this.video)) this.stream = new NativeStream(this.video, this.ticket);
    this.#build();
    if (!this.stream) {
      this.#close(text("unsupported"));
      return;
    }
    this.beats = new Beats(this.video, this.ticket, config.beat);
    this.#restore();
    this.#listen();
    listenToKeys(this);
    this.#loadCaptions();
  }

  // State for the controls.

  /** Seconds; known before playback if the playlist is readable. */
  get length() {
    return Number.isFinite(this.video.duration) && this.video.duration > 0 ? this.video.duration : this.stream?.duration ?? 0;
  }

  /** The current position, or the start position before playback, in seconds. */
  get moment() {
    return this.#started && this.video.readyState > 0 ? this.video.currentTime : this.place;
  }

  get hasCaptions() {
    return this.phrases.phrases.length > 0;
  }

  get hasKeyboard() {
    return !globalThis.matchMedia?.("(hover: none) and (pointer: coarse)").matches;
  }

  get captionSize() {
    return this.root.dataset.size;
  }

  get canFullscreen() {
    return Boolean(document.fullscreenEnabled || document.webkitFullscreenEnabled || this.video.webkitEnterFullscreen);
  }

  get canPictureInPicture() {
    return Boolean(document.pictureInPictureEnabled && this.video.requestPictureInPicture);
  }

  // Actions of the viewer.

  toggle() {
    if (this.ticket.refused) return;
    const play = this.video.paused || this.video.ended;
    if (this.#started) this.overlays.flash(play ? "play" : "pause");
    if (play) this.play();
    else this.video.pause();
  }

  play() {
    this.#begin();
    if (this.video.ended) this.video.currentTime = 0;
    this.video.play().catch((error) => {
      // The browser requires a user gesture, or a new source interrupted the call.
      if (error.name === "NotAllowedError") this.#showState();
    });
  }

  seek(moment) {
    if (this.ticket.refused || !(this.length > 0)) return;
    const place = Math.max(0, Math.min(moment, this.length - 0.1));
    if (!this.#started) {
      this.place = place;
      this.play();
    } else if (this.video.readyState === 0) {
      this.place = place;
      this.video.addEventListener("loadeddata", () => { this.video.currentTime = this.place; }, { once: true });
    } else this.video.currentTime = place;
    this.controls.updateTime();
    this.#refresh();
  }

  skip(seconds) {
    this.seek(this.moment + seconds);
    this.overlays.flash(seconds < 0 ? "rotate-ccw" : "rotate-cw", `${Math.abs(seconds)} s`, seconds < 0 ? "left" : "right");
  }

  stepFrame(direction) {
    if (!this.video.paused || !this.#started) return false;
    this.seek(this.moment + direction * FRAME);
    return true;
  }

  setVolume(volume) {
    this.video.volume = Math.max(0, Math.min(1, volume));
    this.video.muted = this.video.volume === 0;
    remember("volume", { volume: this.video.volume || recall("volume", { volume: 1 }).volume, muted: this.video.muted });
  }

  changeVolume(step) {
    this.setVolume(Math.round(((this.video.muted ? 0 : this.video.volume) + step) * 20) / 20);
    this.overlays.flash(this.video.muted ? "volume-x" : "volume-2", `${Math.round(this.video.volume * 100)} %`);
  }

  toggleMuted() {
    if (this.video.muted && this.video.volume === 0) this.video.volume = recall("volume", { volume: 1 }).volume || 1;
    this.video.muted = !this.video.muted;
    remember("volume", { volume: this.video.volume, muted: this.video.muted });
    this.overlays.flash(this.video.muted ? "volume-x" : "volume-2", this.video.muted ? text("muted") : "");
  }

  setSpeed(speed) {
    this.video.defaultPlaybackRate = this.video.playbackRate = speed;
    remember("speed", speed);
  }

  changeSpeed(direction) {
    const at = SPEEDS.indexOf(this.video.playbackRate) + direction;
    if (at < 0 || at >= SPEEDS.length) return;
    this.setSpeed(SPEEDS[at]);
    this.overlays.flash("play", `${SPEEDS[at].toLocaleString(language)}×`);
  }

  /** Selects an index of the stream's levels, or -1 for automatic. Remembered by height. */
  setQuality(level) {
    this.stream.quality = level;
    remember("quality", level < 0 ? 0 : this.stream.levels[level].height);
  }

  setCaptionSize(size) {
    this.root.dataset.size = size;
    remember("size", size);
  }

  toggleCaptions() {
    if (!this.hasCaptions) return;
    this.phrases.visible = !this.phrases.visible;
    remember("captions", this.phrases.visible);
    this.announcer.say(text(this.phrases.visible ? "on" : "off"));
    this.#showCaptions();
  }

  toggleTranscript() {
    if (!this.hasCaptions) return;
    const open = !this.transcript.open;
    this.root.classList.toggle("reading", open);
    this.transcript.show(open);
    if (open && this.hasKeyboard) this.transcript.focusSearch();
    else this.controls.transcript.focus({ preventScroll: true });
    this.#showCaptions();
  }

  async toggleFullscreen() {
    const shown = document.fullscreenElement ?? document.webkitFullscreenElement;
    if (shown) (document.exitFullscreen ?? document.webkitExitFullscreen).call(document);
    else if (this.root.requestFullscreen) await this.root.requestFullscreen({ navigationUI: "hide" }).catch(() => {});
    else if (this.root.webkitRequestFullscreen) this.root.webkitRequestFullscreen();
    else this.video.webkitEnterFullscreen?.();
  }

  togglePictureInPicture() {
    if (!this.canPictureInPicture || this.video.readyState === 0) return;
    if (document.pictureInPictureElement) document.exitPictureInPicture();
    else this.video.requestPictureInPicture().catch(() => {});
  }

  showKeys() {
    if (!this.overlays.keys.open) this.overlays.keys.showModal();
  }

  escape() {
    if (this.controls.menu.open) this.controls.menu.close();
    else if (this.transcript.open) this.toggleTranscript();
    else return false;
    return true;
  }

  /** Shows the controls for a while. */
  wake() {
    this.root.classList.remove("quiet");
    clearTimeout(this.#idleTimer);
    this.#idleTimer = setTimeout(() => {
      const busy = this.video.paused || this.controls.menu.open || this.controls.seekBar.dragging
        || this.controls.bar.matches(":has(:focus-visible)");
      if (!busy) this.root.classList.add("quiet");
    }, IDLE);
  }

  // Construction.

  #build() {
    this.overlays = new Overlays();
    this.announcer = announcer();
    this.phrases = new Phrases(this.video);
    this.transcript = new Transcript({ seek: (moment) => this.seek(moment), close: () => this.toggleTranscript() });
    const title = element("h1", { class: "title" }, this.config.title || "Orvo Video");
    this.big = element("button", { type: "button", class: "big", "aria-label": text("play"), click: () => this.play() }, icon("play"));
    this.stage.append(this.video, element("div", { class: "shade" }));
    if (this.config.embedded) this.stage.append(element("div", { class: "top" }, title));
    else this.root.after(title);
    if (this.stream) {
      this.controls = new Controls(this);
      this.stage.append(this.controls.bar, this.phrases.box, this.big, this.controls.menu.panel);
      this.controls.updateTime();
    }
    this.stage.append(...this.overlays.all, this.announcer.region);
    this.root.append(this.transcript.panel);
  }

  #restore() {
    const { volume, muted } = recall("volume", { volume: 1, muted: false });
    if (volume >= 0 && volume <= 1) this.video.volume = volume;
    this.video.muted = Boolean(muted);
    const speed = recall("speed", 1);
    if (SPEEDS.includes(speed)) this.setSpeed(speed);
    this.phrases.visible = recall("captions", true) !== false;
  }

  #listen() {
    const { stage, stream, ticket, video } = this;
    this.controls.settings.addEventListener("click", () => { this.overlays.notice.hidden = true; });
    for (const event of ["play", "pause", "ended", "playing"]) video.addEventListener(event, () => this.#showState());
    for (const event of ["waiting", "seeking", "stalled"]) video.addEventListener(event, () => this.#wait());
    for (const event of ["playing", "seeked", "canplay", "pause", "timeupdate"]) video.addEventListener(event, () => this.#goOn());
    video.addEventListener("timeupdate", () => { this.#keepPlace(5000); this.#refresh(); });
    for (const event of ["pause", "seeked"]) video.addEventListener(event, () => { this.#keepPlace(0); this.#refresh(); });
    addEventListener("pagehide", () => this.#keepPlace(0));
    stream.addEventListener("levels", () => this.#chooseQuality());
    stream.addEventListener("measured", () => this.controls.updateTime());
    stream.addEventListener("trouble", ({ detail }) => { this.#trouble = detail; this.#showTrouble(); });
    stream.addEventListener("recovered", () => this.#recover());
    ticket.addEventListener("unreachable", () => { this.#trouble = "network"; this.#showTrouble(); });
    ticket.addEventListener("reachable", () => this.#recover());
    ticket.addEventListener("renewed", ({ detail }) => this.#renewed(detail));
    ticket.addEventListener("refused", ({ detail }) => this.#refuse(detail));
    stage.addEventListener("pointermove", ({ pointerType }) => { if (pointerType === "mouse") this.wake(); });
    stage.addEventListener("pointerleave", ({ pointerType }) => {
      if (pointerType === "mouse" && !video.paused && !this.controls.menu.open) this.root.classList.add("quiet");
    });
    stage.addEventListener("focusin", () => this.wake());
    // A viewer near the button is likely to play, so fetches the first segment.
    for (const event of ["pointerenter", "focusin"]) this.big.addEventListener(event, () => this.#begin(), { once: true });
    video.addEventListener("click", (event) => this.#press(event));
    video.addEventListener("dblclick", () => { if (!this.#tap) this.toggleFullscreen(); });
    for (const event of ["fullscreenchange", "webkitfullscreenchange"])
      document.addEventListener(event, () => this.controls.updateFullscreen(
        Boolean(document.fullscreenElement ?? document.webkitFullscreenElement)));
    this.#joinSession();
  }

  /** A mouse click plays and pauses. A tap shows and hides the controls; a double tap at a side seeks back or forward. */
  #press(event) {
    if (this.controls.menu.justDismissed) return;
    if (event.pointerType === "mouse" || !event.pointerType) {
      this.#tap = null;
      this.toggle();
      return;
    }
    const box = this.video.getBoundingClientRect();
    const third = Math.floor((event.clientX - box.left) / box.width * 3);
    const again = this.#tap && Date.now() - this.#tap.at < DOUBLE_TAP && this.#tap.third === third;
    this.#tap = { at: Date.now(), third };
    if (again && third !== 1 && this.#started) this.skip(third === 0 ? -10 : 10);
    else if (!this.#started) this.play();
    else if (this.root.classList.contains("quiet")) this.wake();
    else if (!this.video.paused) this.root.classList.add("quiet");
  }

  #begin() {
    if (this.#started || !this.stream) return;
    this.#started = true;
    if (this.length > 0 && this.place >= this.length) this.place = 0;
    this.stream.begin(this.place);
    const { place } = this;
    if (location.hash) history.replaceState(null, "", location.pathname + location.search);
    if (place > 0)
      this.video.addEventListener("playing", () => this.overlays.offer(text("resumed", { time: clock(place) }), text("restart"),
        () => this.seek(0)), { once: true });
  }

  #placeOfAddress() {
    const found = location.hash.match(/^#t=(\d+(?:\.\d+)?)$/);
    return found ? Number(found[1]) : null;
  }

  #keepPlace(interval) {
    if (!this.#started || this.video.readyState === 0 || Date.now() - this.#kept < interval) return;
    this.#kept = Date.now();
    keepPlace(this.config.video, this.video.ended ? this.length : this.video.currentTime, this.length);
  }

  async #loadCaptions() {
    const document = await this.ticket.text(this.ticket.url("captions.vtt")).catch(() => "");
    const words = wordsOf(document);
    this.phrases.set(words, phrasesOf(words), text("captions"), language);
    this.transcript.set(words);
    this.#showCaptions();
    this.#refresh();
  }

  #showCaptions() {
    this.controls.updateCaptions({ present: this.hasCaptions, shown: this.phrases.visible, transcript: this.transcript.open });
    this.#refresh();
  }

  #chooseQuality() {
    const height = recall("quality", 0);
    const level = this.stream.levels.findIndex((one) => one.height === height);
    if (level >= 0) this.stream.quality = level;
  }

  #showState() {
    const { ended, paused } = this.video;
    this.root.dataset.state = ended ? "ended" : !paused ? "playing" : this.#started && this.video.currentTime > this.place ? "paused"
      : this.root.dataset.state === "idle" ? "idle" : "paused";
    if (paused) this.root.classList.remove("quiet");
    else this.wake();
    if (!paused) this.#follow();
  }

  /** Updates every frame during playback, since "timeupdate" is too coarse for words. */
  #follow() {
    cancelAnimationFrame(this.#refreshing);
    this.#refreshing = requestAnimationFrame(() => {
      this.#refresh();
      if (!this.video.paused) this.#follow();
    });
  }

  #refresh() {
    const spoken = this.phrases.update(this.#started ? this.moment : -1);
    this.transcript.update(spoken);
  }

  #wait() {
    clearTimeout(this.#busyTimer);
    // Avoids a flicker for short waits.
    this.#busyTimer = setTimeout(() => {
      if (this.video.paused && !this.video.seeking) return;
      if (this.video.readyState >= 3 || this.ticket.refused) return;
      this.overlays.spinner.hidden = false;
      this.#showTrouble();
    }, 350);
  }

  #goOn() {
    if (this.video.readyState < 3 && !this.video.paused) return;
    clearTimeout(this.#busyTimer);
    this.overlays.spinner.hidden = true;
  }

  /** Shows a problem only when playback stops, because the buffer still plays. */
  #showTrouble() {
    if (!this.#trouble || this.ticket.refused) return;
    if (this.#trouble === "media") {
      this.#close(text("broken"), { label: text("reload"), click: () => this.#reloadPage() });
    } else if (this.video.readyState < 3 && (this.#started || this.length === 0)) {
      this.overlays.tell(text("offline"), { label: text("retry"), covers: false, click: () => {
        dispatchEvent(new Event("online"));
        this.stream.retry();
      } });
    }
  }

  #recover() {
    if (this.#trouble !== "network") return;
    this.#trouble = null;
    this.overlays.clear();
  }

  #renewed({ revision }) {
    if (!revision || revision === this.revision) return;
    // The author published a new revision; continues with it.
    this.revision = revision;
    this.stream.reload();
    this.#loadCaptions();
  }

  #refuse({ lapsed }) {
    if (lapsed) this.#reloadPage();
    else this.#close(text("refused"), { more: text("refusedMore") });
  }

  /** Keeps the position in the address, since storage may be denied. */
  #reloadPage() {
    if (this.#started) history.replaceState(null, "", `#t=${Math.floor(this.video.currentTime)}`);
    location.reload();
  }

  /** Ends playback for good and shows the reason. */
  #close(line, options) {
    this.#keepPlace(0);
    clearTimeout(this.#busyTimer);
    this.video.pause();
    this.stream?.stop();
    this.root.dataset.state = "closed";
    for (const part of [this.overlays.spinner, this.overlays.notice, this.transcript.panel]) part.hidden = true;
    this.root.classList.remove("reading");
    this.phrases.box.replaceChildren();
    this.overlays.tell(line, options);
  }

  /** Media keys of keyboards, headsets and lock screens. */
  #joinSession() {
    const session = navigator.mediaSession;
    if (!session || !globalThis.MediaMetadata) return;
    this.video.addEventListener("play", () => {
      session.metadata = new MediaMetadata({ title: this.config.title, artwork: [{ src: this.ticket.url("poster.jpg") }] });
    }, { once: true });
    const actions = {
      play: () => this.play(), pause: () => this.video.pause(),
      seekbackward: ({ seekOffset }) => this.skip(-(seekOffset || 10)), seekforward: ({ seekOffset }) => this.skip(seekOffset || 10),
      seekto: ({ seekTime }) => this.seek(seekTime),
    };
    for (const [name, action] of Object.entries(actions)) {
      try {
        session.setActionHandler(name, action);
      } catch {
        // Not every browser supports every action.
      }
    }
  }
}

const config = JSON.parse(document.body.dataset.config);
document.documentElement.lang = language;
document.body.classList.add(config.embedded ? "embedded" : "page");
const main = element("main");
document.body.append(main);
new Player(config, main);
