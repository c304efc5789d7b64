// The page that opens after the installation: how to begin, the keys, and whether the application answers.

const text = (key) => chrome.i18n.getMessage(key);

document.title = text("name");
document.documentElement.lang = text("language");
for (const labelled of document.querySelectorAll("[data-text]")) labelled.textContent = text(labelled.dataset.text);

// A command has no shortcut if another extension uses the same keys.
for (const { name, description, shortcut } of await chrome.commands.getAll()) {
  if (name.startsWith("_")) continue;
  const [key, meaning] = [document.createElement("dt"), document.createElement("dd")];
  key.textContent = shortcut || text("noKey");
  meaning.textContent = description;
  document.getElementById("keys").append(key, meaning);
}
document.getElementById("shortcuts").addEventListener("click", () => chrome.tabs.create({ url: "chrome://extensions/shortcuts" }));

// The first call also informs the application that the extension is installed.
const isThere = await chrome.runtime.sendMessage({ to: "background", action: "helper" });
const shown = document.getElementById("connected");
shown.textContent = text(isThere ? "welcomeConnected" : "help_missing");
shown.className = isThere ? "good" : "problem";
