// How a tab is recorded: what the user has chosen in the popup, before that the usual.

const USUAL = { height: 1080, fps: 30, microphone: true, camera: false };

export async function storedOptions() {
  const { options } = await chrome.storage.local.get("options");
  return { ...USUAL, ...options };
}

export async function storeOptions(options) {
  await chrome.storage.local.set({ options });
}

// Whether the browser lets the extension use what is to be recorded. If not, opens a page that has it ask the user: the
// recorder has no window in which it could.
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
