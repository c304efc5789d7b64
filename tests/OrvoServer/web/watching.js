// Helpers with which the tests inspect the player's page.
globalThis.watching = (() => {
  const video = document.querySelector("video");
  const seen = { spinner: 0, message: 0, pauses: 0 };
  const spinner = document.querySelector(".spinner");
  const message = document.querySelector(".message");
  new MutationObserver(() => {
    if (!spinner.hidden) seen.spinner++;
    if (!message.hidden) seen.message++;
  }).observe(document.querySelector(".stage"), { attributes: true, subtree: true, attributeFilter: ["hidden"] });
  video.addEventListener("pause", () => seen.pauses++);

  const canvas = document.createElement("canvas");
  canvas.width = canvas.height = 1;
  const NAMES = { 100: "red", "010": "lime", "001": "blue", 111: "white", 110: "yellow", "011": "cyan", 101: "magenta" };

  /** Waits until `condition` returns a true value and returns it; fails after two minutes. */
  async function until(condition, what = String(condition)) {
    const end = performance.now() + 120000;
    for (;;) {
      const result = await condition();
      if (result) return result;
      if (performance.now() > end) throw new Error(`waited too long for ${what}`);
      await new Promise((resolve) => setTimeout(resolve, 30));
    }
  }

  function colour() {
    const context = canvas.getContext("2d", { willReadFrequently: true });
    context.drawImage(video, 0, 0, 1, 1);
    const [red, green, blue] = context.getImageData(0, 0, 1, 1).data;
    return NAMES[[red, green, blue].map((value) => (value > 120 ? 1 : 0)).join("")] ?? "black";
  }

  const played = (seconds) => {
    const from = video.currentTime;
    return until(() => !video.paused && video.currentTime >= from + seconds, `${seconds} s from ${from}`);
  };
  const settled = () => until(() => !video.seeking && video.readyState >= 2, "the frame");
  const button = (name) => document.querySelector(`button[aria-label="${name}"]`);
  const phrase = () => [...document.querySelectorAll(".captions .line")].map((line) => line.textContent);
  return { video, seen, until, colour, played, settled, button, phrase };
})();
