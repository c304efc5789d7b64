const MAX_REFUSALS = 8; // Attempts of a request that the server answers with 403, each with a new ticket.
const MAX_RECOVERIES = 3; // Consecutive decoding failures before giving up.

/** Request policy: fast first retries, since a viewer waits; `shouldRetry` renews a ticket that the server refuses. */
function policy(ticket, { firstByte, whole, retries }) {
  const shouldRetry = ({ maxNumRetry }, count, isTimeout, response, otherwise) => {
    if (response?.code === 403) {
      ticket.expired();
      return count < MAX_REFUSALS;
    }
    // Status 0 is a failed connection, which hls.js retries only if the browser knows that it is offline.
    const again = otherwise || (response?.code === 0 && count < maxNumRetry);
    if (count > 0) ticket.dispatchEvent(new Event("unreachable"));
    return again;
  };
  const retry = { maxNumRetry: retries, retryDelayMs: 300, maxRetryDelayMs: 8000, shouldRetry };
  return { default: { maxTimeToFirstByteMs: firstByte, maxLoadTimeMs: whole, timeoutRetry: retry, errorRetry: retry } };
}

/** Settings of hls.js that make every request use the current ticket. */
export function settings(ticket, more = {}) {
  const list = policy(ticket, { firstByte: 10000, whole: 20000, retries: 4 });
  return {
    autoStartLoad: false,
    renderTextTracksNatively: false,
    // Limits the wasted data of a viewer who leaves to one minute.
    maxMaxBufferLength: 60,
    backBufferLength: 60,
    manifestLoadPolicy: list,
    playlistLoadPolicy: list,
    keyLoadPolicy: list,
    fragLoadPolicy: policy(ticket, { firstByte: 15000, whole: 60000, retries: 6 }),
    xhrSetup: async (request, url) => {
      await ticket.usable();
      request.open("GET", ticket.current(url), true);
    },
    ...more,
  };
}

/**
 * Plays a package through Media Source.
 *
 * Events: "levels", "level" (the quality changed), "trouble" (detail: "network" or "media") and "recovered".
 */
export class MediaSourceStream extends EventTarget {
  static get supported() {
    return Boolean(globalThis.Hls?.isSupported());
  }

  #hls = null;
  #started = false;
  #place = 0;
  #recoveries = 0;
  #timer = 0;

  constructor(video, ticket) {
    super();
    this.video = video;
    this.ticket = ticket;
    this.levels = [];
    this.duration = 0;
    video.addEventListener("playing", () => { this.#recoveries = 0; });
    addEventListener("online", () => this.retry());
    this.#open();
  }

  /** Starts fetching segments, at this position in seconds. Before, only the playlist is fetched. */
  begin(place) {
    if (this.#started) return;
    this.#started = true;
    this.#place = place;
    if (this.levels.length) this.#hls.startLoad(place || -1);
  }

  get quality() {
    return this.#hls.autoLevelEnabled ? -1 : this.#hls.nextLevel;
  }

  /** Selects an index of `levels`, or -1 for automatic. Drops the buffer of other qualities. */
  set quality(level) {
    if (this.#started) this.#hls.nextLevel = level;
    else this.#hls.startLevel = this.#hls.loadLevel = level;
  }

  get shownHeight() {
    return this.levels[this.#hls.currentLevel]?.height ?? 0;
  }

  /** Fetches everything again at the same position: for a new revision, or as the last resort. */
  reload() {
    this.#place = this.video.currentTime || this.#place;
    const wasPlaying = !this.video.paused;
    this.#hls.destroy();
    this.#open();
    if (wasPlaying) this.video.play().catch(() => {});
  }

  retry() {
    clearTimeout(this.#timer);
    if (!this.levels.length) this.#hls.loadSource(this.ticket.url("master.m3u8"));
    else if (this.#started) this.#hls.startLoad();
  }

  stop() {
    clearTimeout(this.#timer);
    this.#hls.destroy();
  }

  #open() {
    const { Hls } = globalThis;
    // A realistic initial bandwidth estimate avoids blurred first segments.
    const hls = this.#hls = new Hls(settings(this.ticket, { capLevelToPlayerSize: true, abrEwmaDefaultEstimate: 3_000_000 }));
    hls.on(Hls.Events.MANIFEST_PARSED, (_, { levels }) => {
      this.levels = levels.map(({ height, width, bitrate }) => ({ height: height || 0, width, bitrate }));
      this.dispatchEvent(new Event("levels"));
      if (this.#started) hls.startLoad(this.#place || -1);
      else this.#measure(hls.levels[0].url[0] ?? hls.levels[0].url);
    });
    hls.on(Hls.Events.LEVEL_SWITCHED, () => this.dispatchEvent(new Event("level")));
    hls.on(Hls.Events.FRAG_BUFFERED, () => this.dispatchEvent(new Event("recovered")));
    hls.on(Hls.Events.ERROR, (_, failure) => { if (failure.fatal) this.#fail(failure); });
    hls.loadSource(this.ticket.url("master.m3u8"));
    hls.attachMedia(this.video);
  }

  /** Reads the duration from a playlist, before any segment is fetched. */
  async #measure(url) {
    const list = await this.ticket.text(url).catch(() => "");
    this.duration = [...list.matchAll(/^#EXTINF:([\d.]+)/gm)].reduce((sum, match) => sum + Number(match[1]), 0);
    this.dispatchEvent(new Event("measured"));
  }

  #fail(failure) {
    const { Hls } = globalThis;
    if (this.ticket.refused) return;
    if (failure.type === Hls.ErrorTypes.MEDIA_ERROR && this.#recoveries++ < MAX_RECOVERIES) {
      this.#hls.recoverMediaError();
      return;
    }
    const network = failure.type === Hls.ErrorTypes.NETWORK_ERROR;
    this.dispatchEvent(new CustomEvent("trouble", { detail: network ? "network" : "media" }));
    if (network) this.#timer = setTimeout(() => this.retry(), 4000);
  }
}

/**
 * Plays a package with the browser's native HLS, where there is no Media Source. Its requests cannot change their ticket, so the
 * source is reloaded at the same position when the ticket is renewed.
 */
export class NativeStream extends EventTarget {
  static supported(video) {
    return Boolean(video.canPlayType("application/vnd.apple.mpegurl"));
  }

  #started = false;
  #failures = 0;

  constructor(video, ticket) {
    super();
    this.video = video;
    this.ticket = ticket;
    this.levels = [];
    this.quality = -1;
    this.duration = 0;
    ticket.addEventListener("renewed", () => { if (this.#started && !this.#holdsTheRest()) this.reload(); });
    video.addEventListener("playing", () => { this.#failures = 0; });
    video.addEventListener("error", () => this.#fail());
    addEventListener("online", () => { if (this.video.error) this.retry(); });
  }

  get shownHeight() {
    return this.video.videoHeight;
  }

  begin(place) {
    if (this.#started) return;
    this.#started = true;
    this.#load(place);
  }

  reload() {
    if (!this.#started) return;
    const wasPlaying = !this.video.paused;
    this.#load(this.video.currentTime);
    if (wasPlaying) this.video.play().catch(() => {});
  }

  retry() {
    this.reload();
  }

  stop() {
    this.video.removeAttribute("src");
    this.video.load();
  }

  #load(place) {
    const { video } = this;
    const { playbackRate } = video;
    video.src = this.ticket.url("master.m3u8");
    video.load();
    video.playbackRate = playbackRate;
    if (place) video.addEventListener("loadedmetadata", () => { video.currentTime = place; }, { once: true });
  }

  #holdsTheRest() {
    const { buffered, currentTime, duration } = this.video;
    for (let i = 0; i < buffered.length; i++)
      if (buffered.start(i) <= currentTime && buffered.end(i) >= duration - 0.5) return true;
    return false;
  }

  async #fail() {
    if (!this.#started || this.ticket.refused || !this.video.hasAttribute("src")) return;
    // The browser does not report the status. The ticket is the likely cause; renewing it reloads at the same position.
    if (this.#failures++ < MAX_RECOVERIES) await this.ticket.renew();
    else this.dispatchEvent(new CustomEvent("trouble", { detail: navigator.onLine ? "media" : "network" }));
  }
}
