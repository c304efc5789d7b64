// The popup: state, options and buttons.

import { levelOf } from "./level.js";
import { storeOptions, storedOptions } from "./options.js";

const text = (key, ...values) => chrome.i18n.getMessage(key, values);
const element = (id) => document.getElementById(id);
const form = element("options");
const everywhere = { origins: ["<all_urls>"] };

let description = { state: "idle", failure: null, seconds: 0, finished: false };
let since = Date.now();
let listening = null; // The level meter before a recording: { stream, context, timer, device }.

const ask = (action) => chrome.runtime.sendMessage({ to: "background", action });

function showTime() {
  const running = description.state === "recording" ? (Date.now() - since) / 1000 : 0;
  const seconds = Math.floor(description.seconds + running);
  const two = (value) => String(value).padStart(2, "0");
  const hours = Math.floor(seconds / 3600);
  const minutes = Math.floor(seconds / 60) % 60;
  element("time").value = hours ? `${hours}:${two(minutes)}:${two(seconds % 60)}` : `${minutes}:${two(seconds % 60)}`;
}

function show(next) {
  description = next;
  since = Date.now();
  const { state, failure, finished } = description;
  const running = state === "recording" || state === "paused";
  element("state").textContent = text(state === "idle" && finished ? "state_finished" : `state_${state}`);
  element("time").hidden = state === "idle" || state === "starting";
  form.hidden = state !== "idle"; // The options are fixed while recording.
  element("open").hidden = state !== "idle" || !finished;
  element("record").textContent = text(state === "idle" ? "record" : "stop");
  element("record").disabled = state === "starting" || state === "stopping";
  element("pause").hidden = element("zoom").hidden = !running;
  element("pause").textContent = text(state === "paused" ? "resume" : "pause");
  element("zoom").disabled = state !== "recording";
  showProblem(failure?.reason);
  showTime();
  showLevel(running ? (description.level ?? 0) : 0);
  listen();
}

function showLevel(level) {
  const running = description.state === "recording" || description.state === "paused";
  const meter = element("level");
  meter.hidden = !(listening || (running && description.microphone));
  meter.setAttribute("aria-valuenow", Math.round(level * 100));
  meter.firstElementChild.style.width = `${level * 100}%`;
}

// Measures the chosen microphone before a recording, but only if already permitted, because the permission prompt would close
// the popup.
async function listen() {
  const wanted = description.state === "idle" && form.microphone.checked;
  const device = form.microphoneDevice.value;
  if (wanted && listening?.device === device) return;
  if (listening) {
    clearInterval(listening.timer);
    for (const track of listening.stream?.getTracks() ?? []) track.stop();
    listening.context?.close();
    listening = null;
  }
  if (!wanted) return showLevel(description.level ?? 0);
  const { state } = await navigator.permissions.query({ name: "microphone" });
  if (state !== "granted" || listening) return showLevel(0);
  const mine = (listening = { device });
  try {
    mine.stream = await navigator.mediaDevices.getUserMedia({ audio: device ? { deviceId: { ideal: device } } : true });
    await showDevices();
  } catch {
    if (listening === mine) listening = null;
    return showLevel(0);
  }
  if (listening !== mine) {
    for (const track of mine.stream.getTracks()) track.stop();
    return;
  }
  mine.context = new AudioContext();
  const analyser = mine.context.createAnalyser();
  mine.context.createMediaStreamSource(mine.stream).connect(analyser);
  const samples = new Float32Array(analyser.fftSize);
  mine.timer = setInterval(() => {
    analyser.getFloatTimeDomainData(samples);
    showLevel(levelOf(samples));
  }, 100);
}

// Browsers reveal the names of microphones only after the permission.
async function showDevices() {
  const { microphoneDevice } = await storedOptions();
  const found = (await navigator.mediaDevices.enumerateDevices()).filter(({ kind, deviceId, label }) =>
    kind === "audioinput" && label && deviceId !== "default" && deviceId !== "communications");
  form.microphoneDevice.replaceChildren(new Option(text("usualDevice"), ""), ...found.map(({ deviceId, label }) => new Option(label, deviceId)));
  form.microphoneDevice.value = found.some(({ deviceId }) => deviceId === microphoneDevice) ? microphoneDevice : "";
  element("devices").hidden = found.length === 0 || !form.microphone.checked;
}

function showProblem(reason) {
  element("problem").hidden = !reason;
  if (!reason) return;
  element("problemText").textContent = text(`failure_${reason}`) || text("failure_unknown");
  element("problemHelp").textContent = text(`help_${reason}`);
}

function options() {
  return {
    height: Number(form.height.value),
    fps: Number(form.fps.value),
    microphone: form.microphone.checked,
    microphoneDevice: form.microphoneDevice.value,
    camera: form.camera.checked,
  };
}

async function record() {
  if (description.state !== "idle") {
    await ask("toggle");
    return;
  }
  const chosen = options();
  await storeOptions(chosen);
  await ask("toggle"); // Requests microphone and camera if needed.
}

for (const labelled of document.querySelectorAll("[data-text]")) labelled.textContent = text(labelled.dataset.text);
document.documentElement.lang = text("language");
element("record").addEventListener("click", record);
element("pause").addEventListener("click", () => ask("pause"));
element("zoom").addEventListener("click", () => ask("zoom"));
element("shortcuts").addEventListener("click", () => chrome.tabs.create({ url: "chrome://extensions/shortcuts" }));
element("open").addEventListener("click", async () => {
  if (await ask("open")) window.close();
  else showProblem("missing");
});
form.addEventListener("change", () => {
  storeOptions(options());
  element("devices").hidden = form.microphoneDevice.options.length < 2 || !form.microphone.checked;
  listen();
});
form.everywhere.addEventListener("change", async () => {
  const change = form.everywhere.checked ? chrome.permissions.request(everywhere) : chrome.permissions.remove(everywhere);
  await change;
  form.everywhere.checked = await chrome.permissions.contains(everywhere);
});
chrome.runtime.onMessage.addListener((message) => {
  if (message?.to !== "popup") return;
  if (message.state) show(message.state);
  else showLevel(message.level);
});

const { height, fps, microphone, microphoneDevice, camera } = await storedOptions();
form.height.value = height;
form.fps.value = fps;
form.microphone.checked = microphone;
if (microphoneDevice) { // Shown until the microphones are listed.
  form.microphoneDevice.replaceChildren(new Option("", microphoneDevice));
  form.microphoneDevice.value = microphoneDevice;
}
form.camera.checked = camera;
form.everywhere.checked = await chrome.permissions.contains(everywhere);
show(await ask("state"));
setInterval(showTime, 500);
if (description.state === "idle" && !description.failure && !(await ask("helper"))) showProblem("missing");
