/** The keys of the player. They work wherever the focus is, except in text fields, and do not override the browser's keys. */
export function listenToKeys(player) {
  const actions = {
    " ": () => player.toggle(), k: () => player.toggle(),
    j: () => player.skip(-10), l: () => player.skip(10),
    ArrowLeft: () => player.skip(-5), ArrowRight: () => player.skip(5),
    ArrowUp: () => player.changeVolume(0.05), ArrowDown: () => player.changeVolume(-0.05),
    Home: () => player.seek(0), End: () => player.seek(player.length),
    ",": () => player.stepFrame(-1), ".": () => player.stepFrame(1),
    m: () => player.toggleMuted(), c: () => player.toggleCaptions(), t: () => player.toggleTranscript(),
    f: () => player.toggleFullscreen(), i: () => player.togglePictureInPicture(),
    "<": () => player.changeSpeed(-1), ">": () => player.changeSpeed(1),
    "?": () => player.showKeys(), Escape: () => player.escape(),
  };
  document.addEventListener("keydown", (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey || event.defaultPrevented) return;
    const { target } = event;
    if (target.matches?.("input, textarea, select") && event.key !== "Escape") return;
    // A focused button handles the keys that press it.
    if (target.closest?.("button") && (event.key === " " || event.key === "Enter")) return;
    // The transcript handles its own scroll keys.
    if (target.closest?.(".transcript") && /^(Arrow(Up|Down)|Home|End)$/.test(event.key)) return;
    const key = event.key.length === 1 ? event.key.toLowerCase() : event.key;
    const action = /^[0-9]$/.test(key) ? () => player.seek(player.length * Number(key) / 10) : actions[key];
    if (!action) return;
    if (action() !== false) event.preventDefault();
    player.wake();
  });
}
