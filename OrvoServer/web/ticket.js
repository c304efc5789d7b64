const MAX_WAIT = 15000; // Milliseconds between two attempts to renew.
const MAX_REQUEST = 10000; // Milliseconds that one attempt may take.
const STALE = 12 * 3600 * 1000; // Milliseconds after which a refused grant may only have lapsed.

/**
 * The permission to fetch a video's files, which is part of their addresses.
 *
 * It lasts minutes and is renewed at two thirds of its life, when the page wakes up, and when the server refuses it.
 *
 * Events: "renewed" (detail.revision), "refused" (detail.lapsed: only the grant was too old), "unreachable" and "reachable".
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

  /** The address of one of the video's files. */
  url(path) {
    return new URL(this.media + path, location.href).href;
  }

  /** The same address with the current ticket. */
  current(url) {
    const media = new URL(this.media, location.href).href;
    const parent = media.slice(0, media.lastIndexOf("/", media.length - 2) + 1);
    if (!url.startsWith(parent)) return url;
    const rest = url.slice(parent.length);
    return media + rest.slice(rest.indexOf("/") + 1);
  }

  /** Resolves once there is a ticket that has not expired. */
  async usable() {
    if (this.#age() >= this.#life) await this.renew();
    else if (this.#due()) this.renew();
  }

  /** The server has refused the ticket. Requests that were already under way when it was renewed do not count. */
  expired() {
    if (this.#age() > 2000) this.#life = 0;
  }

  /** Fetches one of the video's files as a text, with another ticket if this one has expired. */
  async text(url) {
    for (let attempt = 0; ; attempt++) {
      await this.usable();
      const answer = await fetch(this.current(url), { credentials: "omit" });
      if (answer.ok) return answer.text();
      if (answer.status !== 403 || attempt > 0) throw new Error(String(answer.status));
      this.#life = 0;
    }
  }

  /** Calls that overlap share one renewal. Never rejects; after a refusal it never resolves, so that nothing goes on. */
  renew() {
    if (this.#refused) return new Promise(() => {});
    this.#renewal ??= this.#renewUntilAnswered().finally(() => { this.#renewal = null; });
    return this.#renewal;
  }

  #due() {
    return this.#age() >= this.#life * 2 / 3;
  }

  /** Milliseconds. A monotonic clock stops while a laptop sleeps, and the other one may be set back: the larger age holds. */
  #age() {
    return Math.max(Date.now() - this.#obtained.date, performance.now() - this.#obtained.steady);
  }

  #accept({ media, expiresIn, grant }) {
    this.media = media;
    this.#grant = grant;
    this.#obtained = { date: Date.now(), steady: performance.now() };
    this.#life = expiresIn * 1000;
    clearTimeout(this.#timer);
    // Timers stop while the machine sleeps; the events of the constructor cover that.
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

  /** Waits, but not beyond the moment at which the connection or the page returns. */
  #pause(milliseconds) {
    return new Promise((resolve) => {
      const timer = setTimeout(resolve, milliseconds);
      this.#wake = () => { clearTimeout(timer); resolve(); };
    });
  }
}
