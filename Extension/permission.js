// Requests microphone and camera once, then starts the recording.

const query = new URLSearchParams(location.search);
const text = (key) => chrome.i18n.getMessage(key);
const shown = document.getElementById("text");
document.title = text("name");
document.documentElement.lang = text("language");
document.querySelector("h1").textContent = text("permissionTitle");
shown.textContent = text("permissionAsk");
try {
  const stream = await navigator.mediaDevices.getUserMedia({
    audio: query.get("microphone") === "true",
    video: query.get("camera") === "true",
  });
  for (const track of stream.getTracks()) track.stop();
  shown.textContent = text("permissionGiven");
  if (query.has("tab")) chrome.runtime.sendMessage({ to: "background", action: "permitted", tab: Number(query.get("tab")) });
} catch {
  shown.textContent = text("permissionRefused");
}
