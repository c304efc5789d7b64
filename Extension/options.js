// The options of a recording: the user's choices in the popup, else the defaults.

const USUAL = { height: 1080, fps: 30, microphone: true, camera: false };

export async function storedOptions() {
  const { options } = await chrome.storage.local.get("options");
  return { ...USUAL, ...options };
}

export async function storeOptions(options) {
  await chrome.storage.local.set({ options });
}

// Whether the extension may use the chosen devices. If not, opens a page that requests them: the recorder has no window
// to do so.
export async function mayRecord({ microphone, camera }) {
  for (const [wanted, name] of [[microphone, "microphone"], [camera, "camera"]]) {
    if (!wanted) continue;
    const { state } = await navigator.permissions.query({ name });
    if (state === "granted") continue;
    await chrome.tabs.create({ url: `permission.html?${new URLSearchParams({ microphone, camera })}` });
    return false;
  }
  return true;
}
