// The popup: state, options and buttons.

import { storeOptions, storedOptions } from "./options.js";

const text = (key, ...values) => chrome.i18n.getMessage(key, values);
const element = (id) => document.getElementById(id);
const form = element("options");
const everywhere = { origins: ["<all_urls>"] };

let description = { state: "idle", failure: null, seconds: 0, finished: false };
let since = Date.now();

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
  form.hidden = state !== "idle";
  element("record").textContent = text(state === "idle" ? "record" : "stop");
  element("record").disabled = state === "starting" || state === "stopping";
  element("pause").hidden = element("zoom").hidden = !running;
  element("pause").textContent = text(state === "paused" ? "resume" : "pause");
  element("zoom").disabled = state !== "recording";
  showProblem(failure?.reason);
  showTime();
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
form.addEventListener("change", () => storeOptions(options()));
form.everywhere.addEventListener("change", async () => {
  const change = form.everywhere.checked ? chrome.permissions.request(everywhere) : chrome.permissions.remove(everywhere);
  await change;
  form.everywhere.checked = await chrome.permissions.contains(everywhere);
});
chrome.runtime.onMessage.addListener((message) => {
  if (message?.to === "popup") show(message.state);
});

const { height, fps, microphone, camera } = await storedOptions();
form.height.value = height;
form.fps.value = fps;
form.microphone.checked = microphone;
form.camera.checked = camera;
form.everywhere.checked = await chrome.permissions.contains(everywhere);
show(await ask("state"));
setInterval(showTime, 500);
if (description.state === "idle" && !description.failure && !(await ask("helper"))) showProblem("missing");
