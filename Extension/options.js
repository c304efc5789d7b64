// The options of a recording: the user's choices in the popup, else the defaults.

const USUAL = { height: 1080, fps: 30, microphone: true, microphoneDevice: "", camera: false };

export async function storedOptions() {
  const { options } = await chrome.storage.local.get("options");
  return { ...USUAL, ...options };
}

export async function storeOptions(options) {
  await chrome.storage.local.set({ options });
}

// Whether the extension may use the chosen devices.
export async function mayRecord({ microphone, camera }) {
  for (const [wanted, name] of [[microphone, "microphone"], [camera, "camera"]]) {
    if (!wanted) continue;
    const { state } = await navigator.permissions.query({ name });
    if (state !== "granted") return false;
  }
  return true;
}

// Opens a page that requests the devices, because the recorder has no window to do so. That page starts the recording.
export async function requestPermission({ microphone, camera }, tab) {
  const query = new URLSearchParams({ microphone, camera, ...(tab?.id && { tab: tab.id }) });
  await chrome.tabs.create({ url: `permission.html?${query}` });
}
