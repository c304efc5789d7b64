const INTERVAL = 30000; // Milliseconds between two reports.
const MAX_STEP = 1.5; // Seconds of video between two checks at normal speed; more is a seek.

/**
 * Reports which tenths of the video were played. A tenth counts once a second of it (in a very short video, half of it) has been
 * played. The view's identifier is random and never stored; it only lets the server count a view once.
 */
export class Beats {
  #played = new Array(10).fill(0);
  #reported = new Set();
  #waiting = new Set();
  #last = null;
  #sent = 0;

  constructor(video, ticket, address) {
    this.video = video;
    this.ticket = ticket;
    this.address = address;
    this.view = randomName();
    video.addEventListener("timeupdate", () => this.#look());
    for (const event of ["seeking", "pause", "emptied"]) video.addEventListener(event, () => { this.#last = null; });
    addEventListener("pagehide", () => this.#send());
    document.addEventListener("visibilitychange", () => { if (document.visibilityState === "hidden") this.#send(); });
  }

  #look() {
    const { currentTime: now, duration, paused, seeking, playbackRate } = this.video;
    if (paused || seeking || !(duration > 0)) return;
    const step = this.#last === null ? 0 : now - this.#last;
    this.#last = now;
    if (step <= 0 || step > MAX_STEP * Math.max(1, playbackRate)) return;
    const tenth = Math.min(9, Math.floor(now / duration * 10));
    this.#played[tenth] += step;
    if (this.#played[tenth] >= Math.min(1, duration / 20) && !this.#reported.has(tenth)) this.#waiting.add(tenth);
    if (this.#waiting.size && Date.now() - this.#sent >= INTERVAL) this.#send();
  }

  #send() {
    if (!this.#waiting.size || this.ticket.refused) return;
    const tenths = [...this.#waiting].sort((a, b) => a - b);
    this.#sent = Date.now();
    for (const tenth of tenths) this.#reported.add(tenth);
    this.#waiting.clear();
    fetch(this.address, {
      method: "POST",
      keepalive: true,
      credentials: "omit",
      headers: { "Content-Type": "application/json" },
      body: JSON.stringify({ grant: this.ticket.grant, view: this.view, tenths }),
    }).then((answer) => {
      if (!answer.ok && answer.status >= 500) throw new Error();
    }).catch(() => {
      for (const tenth of tenths) {
        this.#reported.delete(tenth);
        this.#waiting.add(tenth);
      }
    });
  }
}

function randomName() {
  // crypto.randomUUID() is missing in pages without TLS.
  const bytes = crypto.getRandomValues(new Uint8Array(16));
  return Array.from(bytes, (byte) => byte.toString(16).padStart(2, "0")).join("");
}
