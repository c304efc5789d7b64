import { settings } from "./stream.js";

/**
 * Shows the frame under the pointer on the seek bar, from a second, muted video in the lowest quality. Created when the pointer first
 * rests there; fetches one segment at a time; not used on slow connections and with data saving.
 */
export class Preview {
  #hls = null;
  #wanted = null;
  #timer = 0;

  constructor(ticket) {
    this.ticket = ticket;
    this.video = document.createElement("video");
    this.video.muted = true;
    this.video.playsInline = true;
    this.video.disableRemotePlayback = true;
    this.video.tabIndex = -1;
    this.video.setAttribute("aria-hidden", "true");
    this.video.addEventListener("seeked", () => {
      this.video.classList.add("shown");
      this.#seek();
    });
  }

  static worthwhile(levels) {
    const connection = navigator.connection;
    const slow = connection?.saveData || /(^|-)2g$|^3g$/.test(connection?.effectiveType ?? "");
    return Boolean(globalThis.Hls?.isSupported()) && !slow && levels.length > 0 && levels[0].height <= 540;
  }

  show(moment) {
    this.#wanted = moment;
    clearTimeout(this.#timer);
    // Ignores a pointer that only crosses the bar.
    this.#timer = setTimeout(() => {
      this.#open(moment);
      if (!this.video.seeking) this.#seek();
    }, this.#hls ? 30 : 150);
  }

  hide() {
    clearTimeout(this.#timer);
    this.#wanted = null;
    this.#hls?.stopLoad();
  }

  close() {
    this.hide();
    this.#hls?.destroy();
    this.#hls = null;
  }

  #open(moment) {
    if (this.#hls) return;
    const { Hls } = globalThis;
    const hls = this.#hls = new Hls(settings(this.ticket, {
      startLevel: 0, maxBufferLength: 1, maxMaxBufferLength: 2, backBufferLength: 30, enableWorker: false,
    }));
    hls.on(Hls.Events.MANIFEST_PARSED, () => {
      hls.loadLevel = 0;
      hls.startLoad(moment);
    });
    hls.on(Hls.Events.ERROR, (_, { fatal }) => { if (fatal) this.close(); });
    hls.loadSource(this.ticket.url("master.m3u8"));
    hls.attachMedia(this.video);
    this.video.addEventListener("loadedmetadata", () => this.#seek(), { once: true });
  }

  /** Seeks one at a time; the last requested moment wins. */
  #seek() {
    if (this.#wanted === null || !this.#hls || this.video.readyState === 0) return;
    if (Math.abs(this.video.currentTime - this.#wanted) < 0.2) return;
    this.#hls.startLoad(this.#wanted);
    this.video.currentTime = this.#wanted;
  }
}
