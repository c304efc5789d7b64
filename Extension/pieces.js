// Queues chunks for the helper: in order, with a limit on unacknowledged ones.

const MAX_PIECE = 384 * 1024; // Bytes; base64 adds a third, which stays below the helper's limit.
const MAX_UNANSWERED = 8;
const MAX_WAITING = 256 * 1024 * 1024; // Bytes that may wait for a slow disk.

export class PieceQueue {
  #send;
  #waiting = []; // { track, blob }
  #waitingBytes = 0;
  #unanswered = 0;
  #sequences = new Map();
  #sending = false;
  #unansweredTicks = 0;
  #whenEmpty = [];

  // `send` receives { track, sequence, data } with data in base64.
  constructor(send) {
    this.#send = send;
  }

  add(track, blob) {
    for (let at = 0; at < blob.size; at += MAX_PIECE) this.#waiting.push({ track, blob: blob.slice(at, at + MAX_PIECE) });
    this.#waitingBytes += blob.size;
    this.#pump();
  }

  written() {
    this.#unansweredTicks = 0;
    --this.#unanswered;
    this.#pump();
    this.#resolveIfEmpty();
  }

  // Resolves when the helper has stored everything.
  drained() {
    return new Promise((resolve) => {
      this.#whenEmpty.push(resolve);
      this.#resolveIfEmpty();
    });
  }

  get isTooLong() {
    return this.#waitingBytes > MAX_WAITING;
  }

  // Counts its calls while chunks are unacknowledged. A clock would include the time that the machine sleeps.
  tick() {
    if (this.#unanswered > 0) ++this.#unansweredTicks;
    return this.#unansweredTicks;
  }

  // Sends one chunk at a time to keep their order.
  async #pump() {
    if (this.#sending) return;
    this.#sending = true;
    while (this.#waiting.length && this.#unanswered < MAX_UNANSWERED) {
      const { track, blob } = this.#waiting.shift();
      this.#waitingBytes -= blob.size;
      ++this.#unanswered;
      const data = await base64(blob);
      const sequence = this.#sequences.get(track) ?? 0;
      this.#sequences.set(track, sequence + 1);
      this.#send({ track, sequence, data });
    }
    this.#sending = false;
  }

  #resolveIfEmpty() {
    if (this.#unanswered || this.#waiting.length || this.#sending) return;
    for (const resolve of this.#whenEmpty.splice(0)) resolve();
  }
}

function base64(blob) {
  return new Promise((resolve, reject) => {
    const reader = new FileReader();
    reader.onload = () => resolve(reader.result.slice(reader.result.indexOf(",") + 1));
    reader.onerror = () => reject(reader.error);
    reader.readAsDataURL(blob);
  });
}
