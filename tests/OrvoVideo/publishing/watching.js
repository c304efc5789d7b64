// What the test of published videos does in the player's page; evaluated there, `video` and `hls` are the page's own.

/// Waits for an event of the video or of the player; what the player cannot mend is an error, and so is waiting too long.
function happens(target, name, start = () => {}) {
  return new Promise((resolve, reject) => {
    const fail = (why) => reject(new Error(`${why}; waiting for ${name} at ${video.currentTime} s, ${video.readyState}`));
    const limit = setTimeout(fail, 180000, "nothing happens");
    const failed = (_, error) => error.fatal && fail(error.details);
    hls.on(Hls.Events.ERROR, failed);
    const happened = () => {
      clearTimeout(limit);
      hls.off(Hls.Events.ERROR, failed);
      resolve();
    };
    if (target === hls) hls.once(name, happened);
    else target.addEventListener(name, happened, { once: true });
    start();
  });
}

/// The colour in the middle of the picture: "red", "lime", "blue" or "white".
function colour() {
  const canvas = document.createElement("canvas");
  canvas.width = canvas.height = 1;
  const context = canvas.getContext("2d");
  context.drawImage(video, video.videoWidth / 2 - 8, video.videoHeight / 2 - 8, 16, 16, 0, 0, 1, 1);
  const [red, green, blue] = context.getImageData(0, 0, 1, 1).data.map((value) => value > 120);
  return red && green && blue ? "white" : red ? "red" : green ? "lime" : blue ? "blue" : "none";
}

async function levels() {
  if (!hls.levels.length) await happens(hls, Hls.Events.MANIFEST_PARSED);
  return hls.levels.map((level) => ({ height: level.height, bandwidth: level.bitrate }));
}

/// Plays one quality alone: sought to each moment, then on from it.
async function played(level, moments) {
  if (video.readyState < HTMLMediaElement.HAVE_CURRENT_DATA) await happens(video, "loadeddata");
  // What another quality has left is thrown away, also when this is the one that the player had chosen itself.
  await happens(hls, Hls.Events.BUFFER_FLUSHED, () => { hls.currentLevel = level; });
  const seen = [];
  for (const moment of moments) {
    video.pause();
    await happens(video, "seeked", () => { video.currentTime = moment; });
    const shown = colour();
    await happens(video, "timeupdate", () => video.play());
    while (video.currentTime < moment + 0.5) await happens(video, "timeupdate");
    const track = document.querySelector("track").track;
    seen.push({ moment, colour: shown, height: video.videoHeight, captions: [...track.activeCues].map((cue) => cue.text) });
  }
  return { seen, duration: video.duration, soundBytes: video.webkitAudioDecodedByteCount };
}

async function cues() {
  const track = document.querySelector("track");
  while (track.readyState === HTMLTrackElement.LOADING || track.readyState === HTMLTrackElement.NONE)
    await new Promise((resolve) => track.addEventListener("load", resolve, { once: true }));
  return [...track.track.cues].map((cue) => cue.text);
}

/// What the player says of the first error when it loads all anew.
function error() {
  return new Promise((resolve) => {
    hls.once(Hls.Events.ERROR, (_, error) => resolve(error.details));
    hls.loadSource(hls.url);
  });
}
