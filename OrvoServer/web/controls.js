import { clock, element, icon, setIcon } from "./dom.js";
import { Menu } from "./menu.js";
import { SeekBar } from "./seekbar.js";
import { text } from "./texts.js";

export const SPEEDS = [0.5, 0.75, 1, 1.25, 1.5, 1.75, 2];
const SIZES = ["small", "medium", "large"];

const decimal = (value) => value.toLocaleString(document.documentElement.lang);

/** The control bar of the video. Shows the state of the player and calls its methods. */
export class Controls {
  constructor(player) {
    this.player = player;
    const { video } = player;
    const button = (name, label, click, attributes = {}) =>
      element("button", { type: "button", "aria-label": label, title: label, click, ...attributes }, icon(name));
    this.seekBar = new SeekBar({
      video, stream: player.stream, ticket: player.ticket, seek: (moment) => player.seek(moment), length: () => player.length,
      moment: () => player.moment,
    });
    this.play = button("play", text("play"), () => player.toggle(), { class: "play" });
    this.mute = button("volume-2", text("mute"), () => player.toggleMuted());
    this.volume = element("input", { type: "range", min: "0", max: "1", step: "0.05", "aria-label": text("volume"),
      input: () => player.setVolume(Number(this.volume.value)) });
    this.now = element("span", { class: "now" }, "0:00");
    this.end = element("span", { class: "end" });
    this.captions = button("captions", text("captions"), () => player.toggleCaptions(), { "aria-pressed": "false", hidden: true });
    this.transcript = button("scroll-text", text("transcript"), () => player.toggleTranscript(),
      { "aria-expanded": "false", hidden: true });
    this.settings = button("settings", text("settings"), () => {}, { class: "settings" });
    this.pip = button("picture-in-picture-2", text("pip"), () => player.togglePictureInPicture(),
      { class: "pip", hidden: !player.canPictureInPicture });
    this.fullscreen = button("maximize", text("fullscreen"), () => player.toggleFullscreen(), { hidden: !player.canFullscreen });
    this.menu = new Menu(this.settings, () => this.#pages());
    this.bar = element("div", { class: "bar" }, this.seekBar.bar,
      element("div", { class: "row" },
        this.play,
        button("rotate-ccw", text("back"), () => player.skip(-10), { class: "skip" }),
        button("rotate-cw", text("forward"), () => player.skip(10), { class: "skip" }),
        element("div", { class: "volume" }, this.mute, this.volume),
        element("div", { class: "clock" }, this.now, this.end),
        element("div", { class: "space" }),
        this.captions, this.transcript, this.settings, this.pip, this.fullscreen));
    for (const event of ["play", "pause", "ended", "seeking"]) video.addEventListener(event, () => this.updatePlay());
    for (const event of ["timeupdate", "seeking", "durationchange", "seeked"]) video.addEventListener(event, () => this.updateTime());
    for (const event of ["progress", "durationchange", "emptied", "timeupdate"])
      video.addEventListener(event, () => this.seekBar.updateFetched());
    video.addEventListener("volumechange", () => this.updateVolume());
    this.updateVolume();
  }

  updatePlay() {
    const { ended, paused } = this.player.video;
    setIcon(this.play, ended ? "rotate-ccw" : paused ? "play" : "pause");
    this.#name(this.play, text(ended ? "replay" : paused ? "play" : "pause"));
  }

  updateTime() {
    const { length } = this.player;
    this.now.textContent = clock(this.player.moment);
    this.end.textContent = length > 0 ? clock(length) : "";
    this.seekBar.update();
  }

  updateVolume() {
    const { muted, volume } = this.player.video;
    const heard = muted ? 0 : volume;
    setIcon(this.mute, heard === 0 ? "volume-x" : heard < 0.5 ? "volume-1" : "volume-2");
    this.#name(this.mute, text(heard === 0 ? "unmute" : "mute"));
    this.volume.value = String(heard);
    this.volume.style.setProperty("--share", heard);
    this.volume.setAttribute("aria-valuetext", `${Math.round(heard * 100)} %`);
  }

  updateFullscreen(on) {
    setIcon(this.fullscreen, on ? "minimize" : "maximize");
    this.#name(this.fullscreen, text(on ? "leaveFullscreen" : "fullscreen"));
  }

  updateCaptions({ present, shown, transcript }) {
    this.captions.hidden = this.transcript.hidden = !present;
    this.captions.setAttribute("aria-pressed", String(shown));
    this.transcript.setAttribute("aria-expanded", String(transcript));
  }

  #name(button, label) {
    button.setAttribute("aria-label", label);
    button.title = label;
  }

  #pages() {
    const { player } = this;
    const { stream, video } = player;
    const speed = (value) => (value === 1 ? text("normal") : `${decimal(value)}×`);
    const automatic = stream.shownHeight ? text("autoAt", { height: stream.shownHeight }) : text("auto");
    const quality = stream.quality < 0 ? automatic : `${stream.levels[stream.quality].height}p`;
    const levels = stream.levels.map((level, index) => ({ label: `${level.height}p`, checked: stream.quality === index,
      choose: () => player.setQuality(index) })).reverse();
    const items = [{ label: text("speed"), value: speed(video.playbackRate), page: "speed" }];
    if (stream.levels.length > 1) items.push({ label: text("quality"), value: quality, page: "quality" });
    if (player.hasCaptions) items.push({ label: text("captionSize"), value: text(player.captionSize), page: "size" });
    if (player.hasKeyboard) items.push({ label: text("keys"), choose: () => player.showKeys() });
    return {
      main: { title: text("settings"), items },
      speed: { title: text("speed"), items: SPEEDS.map((value) => ({ label: speed(value), checked: video.playbackRate === value,
        choose: () => player.setSpeed(value) })) },
      quality: { title: text("quality"), items: [...levels, { label: automatic, checked: stream.quality < 0,
        choose: () => player.setQuality(-1) }] },
      size: { title: text("captionSize"), items: SIZES.map((size) => ({ label: text(size), checked: player.captionSize === size,
        choose: () => player.setCaptionSize(size) })) },
    };
  }
}
