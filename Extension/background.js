// Connects the parts: popup and shortcuts send requests, the session records, the badge shows the state.

import { requestPermission, mayRecord, storedOptions } from "./options.js";
import { Session } from "./session.js";

const session = new Session(showState);

const badges = {
  idle: { text: "", color: "#00000000" },
  starting: { text: "…", color: "#c62828" },
  recording: { text: "REC", color: "#c62828" },
  paused: { text: "II", color: "#b26a00" },
  stopping: { text: "…", color: "#5f6368" },
};

function showState() {
  const badge = session.failure ? { text: "!", color: "#c62828" } : badges[session.state];
  chrome.action.setBadgeText({ text: badge.text });
  chrome.action.setBadgeBackgroundColor({ color: badge.color });
  const key = session.failure ? `failure_${session.failure.reason}` : `state_${session.state}`;
  chrome.action.setTitle({ title: `${chrome.i18n.getMessage("name")} · ${chrome.i18n.getMessage(key)}` });
  // The popup does not listen while it is closed.
  chrome.runtime.sendMessage({ to: "popup", state: session.description() }).catch(() => {});
}

async function toggle() {
  if (session.state === "idle") {
    const [tab] = await chrome.tabs.query({ active: true, lastFocusedWindow: true });
    const options = await storedOptions();
    if (await mayRecord(options)) await session.start(tab, options);
    else await requestPermission(options, tab);
  } else {
    await session.stop();
  }
}

// Called when the permission is granted: closes the permission page and records the tab. The earlier press of the icon or the
// shortcut still permits the capture.
async function resume(page, tabId) {
  const tab = await chrome.tabs.get(tabId).catch(() => null);
  if (tab) {
    await chrome.tabs.update(tab.id, { active: true });
    await chrome.windows.update(tab.windowId, { focused: true });
  }
  await chrome.tabs.remove(page);
  if (tab && session.state === "idle") await session.start(tab, await storedOptions());
}

// Opens only after an installation, not after an update.
chrome.runtime.onInstalled.addListener(({ reason }) => {
  if (reason === "install") chrome.tabs.create({ url: "welcome.html" });
});

chrome.commands.onCommand.addListener((command) => {
  if (command === "record") toggle();
  else if (command === "pause") session.togglePause();
  else if (command === "zoom") session.markZoom();
});

chrome.runtime.onMessage.addListener((message, sender, reply) => {
  if (message?.to !== "background" || sender.id !== chrome.runtime.id) return false;
  switch (message.action) {
    case "state":
      reply(session.description());
      return false;
    case "toggle":
      toggle();
      return false;
    case "pause":
      session.togglePause();
      return false;
    case "zoom":
      session.markZoom();
      return false;
    case "permitted":
      if (sender.tab) resume(sender.tab.id, message.tab);
      return false;
    case "open":
      session.openInApplication().then(reply);
      return true; // The reply comes later.
    case "helper":
      session.isHelperThere().then(reply);
      return true; // The reply comes later.
    case "pointer":
      session.addPointer(sender, message.events);
      return false;
    default:
      return false;
  }
});

chrome.runtime.onConnect.addListener((port) => {
  if (port.name === "recorder" && port.sender?.id === chrome.runtime.id) session.attachRecorder(port);
});

// A newly loaded page lacks the pointer script.
chrome.tabs.onUpdated.addListener((tab, change) => {
  if (change.status === "complete") session.watchPointer(tab);
});

showState();
