import { lastStarted } from "./captions.js";
import { element } from "./dom.js";

/** Shows the current phrase over the video and marks the spoken word. */
export class Phrases {
  #shown = null;
  #marked = null;

  constructor(video) {
    this.video = video;
    this.words = [];
    this.phrases = [];
    this.visible = true;
    this.box = element("div", { class: "captions", "aria-hidden": "true" });
    video.addEventListener("webkitbeginfullscreen", () => this.#native(true));
    video.addEventListener("webkitendfullscreen", () => this.#native(false));
    video.addEventListener("enterpictureinpicture", () => this.#native(true));
    video.addEventListener("leavepictureinpicture", () => this.#native(false));
  }

  set(words, phrases, label, language) {
    this.words = words;
    this.phrases = phrases;
    this.#shown = null;
    // Where the page's elements are hidden, the browser draws the captions.
    this.track ??= this.video.addTextTrack?.("captions", label, language);
    if (!this.track || !globalThis.VTTCue) return;
    this.track.mode = "hidden";
    for (const cue of [...(this.track.cues ?? [])]) this.track.removeCue(cue);
    for (const phrase of phrases) {
      const line = (first, last) => words.slice(first, last + 1).map((word) => word.text).join(" ");
      const lines = phrase.second === null ? [line(phrase.first, phrase.last)]
        : [line(phrase.first, phrase.second - 1), line(phrase.second, phrase.last)];
      const cue = new VTTCue(phrase.start, phrase.end, "");
      cue.text = lines.join("\n").replace(/&/g, "&amp;").replace(/</g, "&lt;");
      this.track.addCue(cue);
    }
  }

  /** The index of the word being spoken, or -1. */
  update(moment) {
    const at = lastStarted(this.phrases, moment);
    const phrase = this.visible && at >= 0 && moment < this.phrases[at].end ? this.phrases[at] : null;
    if (phrase !== this.#shown) this.#show(phrase);
    const last = lastStarted(this.words, moment);
    const spoken = last >= 0 && moment < this.words[last].end ? last : -1;
    if (spoken !== this.#marked) {
      this.box.querySelector(".spoken")?.classList.remove("spoken");
      this.box.querySelector(`[data-word="${spoken}"]`)?.classList.add("spoken");
      this.#marked = spoken;
    }
    return last;
  }

  #show(phrase) {
    this.#shown = phrase;
    this.#marked = null;
    if (!phrase) {
      this.box.replaceChildren();
      return;
    }
    const lines = [element("div", { class: "line" })];
    for (let i = phrase.first; i <= phrase.last; i++) {
      if (i === phrase.second) lines.push(element("div", { class: "line" }));
      const line = lines[lines.length - 1];
      if (line.childNodes.length) line.append(" ");
      line.append(element("span", { "data-word": i }, this.words[i].text));
    }
    this.box.replaceChildren(...lines);
  }

  #native(shown) {
    if (this.track) this.track.mode = shown && this.visible ? "showing" : "hidden";
  }
}
