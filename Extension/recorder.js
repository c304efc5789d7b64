// The offscreen page that records. Sends the streams to the helper in chunks and drops each chunk once it is stored.

import { levelOf } from "./level.js";
import { PieceQueue } from "./pieces.js";

const PIECE_INTERVAL = 1000; // Milliseconds of recording in a chunk.
const LOST_AFTER = 15; // Seconds without an acknowledgement.
const MAX_END = 60; // Seconds from the end of the recording to the helper's last acknowledgement.
const CODECS = ["video/webm;codecs=h264,opus", "video/webm;codecs=vp9,opus", "video/webm;codecs=vp8,opus"];

const port = chrome.runtime.connect({ name: "recorder" });
const streams = [];
const recorders = []; // { kind, recorder, startedAt }
const queue = new PieceQueue((piece) => port.postMessage({ type: "chunk", ...piece }));
let audio = null;
let clock = null; // The RecordingClock.
let ending = false;
let secondsEnding = 0;

// Times are in milliseconds of this page's clock.
class RecordingClock {
  #begin = performance.now();
  #pauses = []; // { from, to }; the last one may still be open.

  // The first frame is time 0.
  beginAt(moment) {
    this.#begin = moment;
  }

  // The recording time in seconds at a moment, or null during a pause.
  at(moment) {
    return this.#pauses.some(({ from, to }) => moment >= from && moment < to) ? null : this.#recorded(moment);
  }

  get seconds() {
    return this.#recorded(this.#isPaused ? this.#pauses.at(-1).from : performance.now());
  }

  #recorded(moment) {
    const over = this.#pauses.filter(({ to }) => to <= moment);
    const paused = over.reduce((sum, { from, to }) => sum + to - from, 0);
    return Math.max(0, moment - this.#begin - paused) / 1000;
  }

  get #isPaused() {
    return this.#pauses.at(-1)?.to === Infinity;
  }

  pause() {
    if (!this.#isPaused) this.#pauses.push({ from: performance.now(), to: Infinity });
  }

  resume() {
    if (this.#isPaused) this.#pauses.at(-1).to = performance.now();
  }
}

function fail(reason, error) {
  port.postMessage({ type: "failed", reason, detail: String(error?.message ?? error ?? "") });
  release();
}

function release() {
  for (const stream of streams) for (const track of stream.getTracks()) track.stop();
  audio?.close();
}

// The frame size: that of the tab, scaled down to the requested height, in even numbers.
function sizeFor(area, height) {
  const real = { width: area.width * area.ratio, height: area.height * area.ratio };
  const scale = Math.min(1, height / real.height);
  const even = (value) => Math.max(2, Math.floor((value * scale) / 2) * 2);
  return { width: even(real.width), height: even(real.height) };
}

async function open({ streamId, area, options }) {
  const size = sizeFor(area, options.height ?? 1080);
  const fps = options.fps ?? 30;
  const source = { chromeMediaSource: "tab", chromeMediaSourceId: streamId };
  const tab = await navigator.mediaDevices.getUserMedia({
    audio: { mandatory: source },
    video: {
      mandatory: {
        ...source,
        minWidth: size.width,
        maxWidth: size.width,
        minHeight: size.height,
        maxHeight: size.height,
        maxFrameRate: fps,
      },
    },
  });
  streams.push(tab);
  // Capturing mutes the tab unless its audio is played.
  audio = new AudioContext();
  audio.createMediaStreamSource(tab).connect(audio.destination);

  const sources = [{ kind: "screen", stream: tab, bits: size.width * size.height * 5 }];
  if (options.microphone) {
    // Falls back to the default device if the chosen one is unplugged.
    const device = options.microphoneDevice;
    const stream = await navigator.mediaDevices.getUserMedia({ audio: device ? { deviceId: { ideal: device } } : true }).catch((error) => {
      throw { reason: "microphone", error };
    });
    streams.push(stream);
    sources.push({ kind: "microphone", stream });
    meter(stream);
  }
  if (options.camera) {
    const stream = await navigator.mediaDevices.getUserMedia({ video: { width: 1280, height: 720 } }).catch((error) => {
      throw { reason: "camera", error };
    });
    streams.push(stream);
    sources.push({ kind: "camera", stream, bits: 1280 * 720 * 5 });
  }
  return { sources, size, fps };
}

// Reports the level of the microphone, 0 to 1 over 60 decibels, for the popup.
function meter(stream) {
  const analyser = audio.createAnalyser();
  audio.createMediaStreamSource(stream).connect(analyser);
  const samples = new Float32Array(analyser.fftSize);
  setInterval(() => {
    analyser.getFloatTimeDomainData(samples);
    port.postMessage({ type: "level", level: levelOf(samples) });
  }, 150);
}

function makeRecorder({ kind, stream, bits }) {
  const mimeType = kind === "microphone" ? "audio/webm;codecs=opus" : CODECS.find((type) => MediaRecorder.isTypeSupported(type));
  const recorder = new MediaRecorder(stream, { mimeType, videoBitsPerSecond: bits, audioBitsPerSecond: 128000 });
  const entry = { kind, recorder, stream, stopped: null };
  recorder.addEventListener("dataavailable", (event) => {
    if (event.data.size > 0) queue.add(kind, event.data);
  });
  recorder.addEventListener("error", (event) => fail("recorder", event.error));
  entry.stopped = new Promise((resolve) => recorder.addEventListener("stop", resolve, { once: true }));
  recorders.push(entry);
}

async function record(plan) {
  try {
    const { sources, size, fps } = await open(plan);
    sources.forEach(makeRecorder);
    port.postMessage({ type: "start", title: shortened(plan.title), ...size, fps, tracks: sources.map((source) => source.kind) });
    streams[0].getVideoTracks()[0].addEventListener("ended", () => end(true));
  } catch (error) {
    fail(error?.reason ?? "capture", error?.error ?? error);
  }
}

// The helper limits the title in bytes.
function shortened(title) {
  const bytes = new TextEncoder().encode(title).slice(0, 240);
  return new TextDecoder().decode(bytes).replace(/\uFFFD+$/, "");
}

// The time of a stream's first frame or audio. The recorder's file starts with it, possibly long after its "start" event,
// because a camera takes a while to deliver.
function firstMedia(stream) {
  return Promise.race(stream.getTracks().map(async (track) => {
    const copy = track.clone();
    const reader = new MediaStreamTrackProcessor({ track: copy }).readable.getReader();
    const { value } = await reader.read();
    const at = performance.now();
    value?.close();
    await reader.cancel();
    copy.stop();
    return at;
  }));
}

async function begin() {
  try {
    clock = new RecordingClock();
    const [screen, ...others] = recorders.map(({ kind, stream, recorder }) => {
      recorder.start(PIECE_INTERVAL); // Throws when its device is gone.
      return { kind, first: firstMedia(stream) };
    });
    port.postMessage({ type: "recording" });
    setInterval(watch, 1000);
    const began = await screen.first;
    clock.beginAt(began);
    for (const { kind, first } of others) {
      first.then((at) => port.postMessage({ type: "starts", tracks: [{ track: kind, seconds: Math.max(at - began, -59999) / 1000 }] }));
    }
  } catch (error) {
    fail("recorder", error);
  }
}

// Runs every second until the page closes, so that an unresponsive helper blocks neither the recording nor its end.
function watch() {
  if (!ending) port.postMessage({ type: "progress", seconds: clock.seconds });
  else ++secondsEnding;
  if (queue.tick() > LOST_AFTER || queue.isTooLong || secondsEnding > MAX_END) fail("slow");
}

async function end(byBrowser) {
  if (ending || !clock) return;
  ending = true;
  if (byBrowser) port.postMessage({ type: "ended" });
  clock.pause();
  const seconds = clock.seconds;
  for (const { recorder } of recorders) if (recorder.state !== "inactive") recorder.stop();
  await Promise.all(recorders.map((entry) => entry.stopped));
  await queue.drained();
  release();
  port.postMessage({ type: "stop", seconds });
}

function addPointer(events) {
  if (!clock) return;
  const now = performance.now();
  const timed = [];
  for (const { kind, age, x, y } of events) {
    const time = age >= 0 ? clock.at(now - age) : null;
    if (time !== null && x >= 0 && x <= 1 && y >= 0 && y <= 1) timed.push({ kind, time, x, y });
  }
  if (timed.length) port.postMessage({ type: "pointer", events: timed });
}

port.onMessage.addListener((message) => {
  switch (message.type) {
    case "record":
      record(message);
      break;
    case "started":
      begin();
      break;
    case "written":
      queue.written(message.track, message.sequence);
      break;
    case "pointer":
      addPointer(message.events);
      break;
    case "pause":
      clock?.pause();
      // A recorder whose device is gone is inactive; the others are not.
      for (const { recorder } of recorders) if (recorder.state === "recording") recorder.pause();
      break;
    case "resume":
      clock?.resume();
      for (const { recorder } of recorders) if (recorder.state === "paused") recorder.resume();
      break;
    case "stop":
      end(false);
      break;
  }
});
port.onDisconnect.addListener(() => {
  release();
  window.close(); // The worker that closes this page may be gone.
});
