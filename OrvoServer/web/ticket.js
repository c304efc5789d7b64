const MAX_WAIT = 15000; // Milliseconds between two attempts to renew.
const MAX_REQUEST = 10000; // Milliseconds that one attempt may take.
const STALE = 12 * 3600 * 1000; // Milliseconds after which a refused grant may have expired.

/**
 * The permission to fetch a video's files; part of their addresses.
 *
 * Valid for minutes. Renewed at two thirds of its life, when the page wakes up, and when the server refuses it.
 *
 * Events: "renewed" (detail.revision), "refused" (detail.lapsed: the grant was too old), "unreachable" and "reachable".
 */
export class Ticket extends EventTarget {
  #grant;
  #renewal = null;
  #timer = 0;
  #obtained = null;
  #life = 0;
  #refused = false;
  #wake = null;

  constructor(config) {
    super();
    this.address = config.renew;
    this.#accept(config);
    const check = () => {
      this.#wake?.();
      if (this.#due()) this.renew();
    };
    document.addEventListener("visibilitychange", check);
    for (const event of ["online", "focus", "pageshow"]) addEventListener(event, check);
  }

  get grant() {
    return this.#grant;
  }

  get refused() {
    return this.#refused;
  }

  /** The address of a file of the video. */
  url(path) {
    return new URL(this.media + path, location.href).href;
  }

  /** The address with the current ticket. */
  current(url) {
    const media = new URL(this.media, location.href).href;
    const parent = media.slice(0, media.lastIndexOf("/", media.length - 2) + 1);
    if (!url.startsWith(parent)) return url;
    const rest = url.slice(parent.length);
    return media + rest.slice(rest.indexOf("/") + 1);
  }

  /** Resolves when there is a valid ticket. */
  async usable() {
    if (this.#age() >= this.#life) await this.renew();
    else if (this.#due()) this.renew();
  }

  /** Call when the server refused the ticket. Ignores requests that were sent before its renewal. */
  expired() {
    if (this.#age() > 2000) this.#life = 0;
  }

  /** Fetches a file of the video as text, with a new ticket if this one has expired. */
  async text(url) {
    for (let attempt = 0; ; attempt++) {
      await this.usable();
      const answer = await fetch(this.current(url), { credentials: "omit" });
      if (answer.ok) return answer.text();
      if (answer.status !== 403 || attempt > 0) throw new Error(String(answer.status));
      this.#life = 0;
    }
  }

  /** Overlapping calls share one renewal. Never rejects; after a refusal it never resolves, which stops the callers. */
  renew() {
    if (this.#refused) return new Promise(() => {});
    this.#renewal ??= this.#renewUntilAnswered().finally(() => { this.#renewal = null; });
    return this.#renewal;
  }

  #due() {
    return this.#age() >= this.#life * 2 / 3;
  }

  /** Milliseconds. The monotonic clock stops while a laptop sleeps, and the wall clock may be set back: uses the larger age. */
  #age() {
    return Math.max(Date.now() - this.#obtained.date, performance.now() - this.#obtained.steady);
  }

  #accept({ media, expiresIn, grant }) {
    this.media = media;
    this.#grant = grant;
    this.#obtained = { date: Date.now(), steady: performance.now() };
    this.#life = expiresIn * 1000;
    clearTimeout(this.#timer);
    // Timers stop while the machine sleeps; the events in the constructor cover that.
    this.#timer = setTimeout(() => this.renew(), this.#life * 2 / 3);
  }

  async #renewUntilAnswered() {
    for (let attempt = 0; ; attempt++) {
      const answer = await this.#ask();
      if (answer?.ok) {
        const content = await answer.json().catch(() => null);
        if (content?.media) {
          this.#accept(content);
          this.dispatchEvent(new CustomEvent("reachable"));
          this.dispatchEvent(new CustomEvent("renewed", { detail: { revision: content.revision } }));
          return;
        }
      } else if (answer && answer.status >= 400 && answer.status < 500 && ![408, 429].includes(answer.status)) {
        this.#refused = true;
        clearTimeout(this.#timer);
        this.dispatchEvent(new CustomEvent("refused", { detail: { lapsed: this.#age() > STALE } }));
        await new Promise(() => {});
      }
      if (attempt > 0) this.dispatchEvent(new CustomEvent("unreachable"));
      await this.#pause(Math.min(MAX_WAIT, 500 * 2 ** attempt) * (0.75 + Math.random() / 2));
    }
  }

  async #ask() {
    const limit = new AbortController();
    const timer = setTimeout(() => limit.abort(), MAX_REQUEST);
    try {
      return await fetch(this.address, {
        method: "POST",
        credentials: "omit",
        headers: { "Content-Type": "application/json" },
        body: JSON.stringify({ grant: this.#grant }),
        signal: limit.signal,
      });
    } catch {
      return null;
    } finally {
      clearTimeout(timer);
    }
  }

  /** Waits, but only until the connection or the page returns. */
  #pause(milliseconds) {
    return new Promise((resolve) => {
      const timer = setTimeout(resolve, milliseconds);
      this.#wake = () => { clearTimeout(timer); resolve(); };
    });
  }
}
