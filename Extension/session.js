// One recording: opens the connection to the helper and the recorder's page, and passes messages between them.

const HELPER = "es.orvo.video";
const VERSION = 1;

export class Session {
  #changed;
  #helper = null; // The native connection.
  #recorder = null; // The connection to the offscreen page.
  #tab = null;
  #plan = null; // Sent to the recorder when it has started.
  #pointer = { x: 0.5, y: 0.5 };
  #startedAt = 0;
  #seconds = 0; // Recorded before the last pause.
  #level = 0; // The microphone's level, 0 to 1.

  state = "idle";
  failure = null;
  finishedProject = null;

  constructor(changed) {
    this.#changed = changed;
  }

  description() {
    const running = this.state === "recording" ? (Date.now() - this.#startedAt) / 1000 : 0;
    return {
      state: this.state,
      failure: this.failure,
      seconds: this.#seconds + running,
      finished: this.finishedProject !== null,
      level: this.#level,
      microphone: this.#plan?.options.microphone ?? false,
    };
  }

  // Options: height, fps, microphone, camera.
  async start(tab, options) {
    if (this.state !== "idle") return;
    this.failure = null;
    this.finishedProject = null;
    this.#seconds = 0;
    this.#level = 0;
    this.#set("starting");
    try {
      this.#tab = tab?.id;
      const area = await this.#areaOf(this.#tab);
      const streamId = await chrome.tabCapture.getMediaStreamId({ targetTabId: this.#tab }).catch(() => {
        throw { reason: "page" };
      });
      this.#plan = { type: "record", streamId, title: tab.title ?? "", area, options };
      await this.#openHelper();
      // Closes a page that a stopped worker has left behind.
      await chrome.offscreen.closeDocument().catch(() => {});
      await chrome.offscreen.createDocument({
        url: "recorder.html",
        reasons: ["USER_MEDIA"],
        justification: "Records the tab that the user has chosen",
      });
    } catch (error) {
      this.#fail(error?.reason ?? "unknown", error?.detail ?? String(error?.message ?? error));
    }
  }

  async stop() {
    if (this.state !== "recording" && this.state !== "paused") return;
    this.#rest();
    this.#set("stopping");
    this.#recorder?.postMessage({ type: "stop" });
  }

  togglePause() {
    if (this.state === "recording") {
      this.#rest();
      this.#set("paused");
      this.#recorder?.postMessage({ type: "pause" });
    } else if (this.state === "paused") {
      this.#startedAt = Date.now();
      this.#set("recording");
      this.#recorder?.postMessage({ type: "resume" });
    }
  }

  markZoom() {
    if (this.state !== "recording") return;
    this.#recorder?.postMessage({ type: "pointer", events: [{ kind: "zoom", age: 0, ...this.#pointer }] });
  }

  addPointer(sender, events) {
    // Events that arrive during a pause or after the end may be older; the recorder checks their age.
    if (!["recording", "paused", "stopping"].includes(this.state) || sender.tab?.id !== this.#tab || !Array.isArray(events) || !events.length) return;
    const { x, y } = events.at(-1);
    this.#pointer = { x, y };
    this.#recorder?.postMessage({ type: "pointer", events });
  }

  // Contacts the helper without recording. Resolves to whether it is available.
  isHelperThere() {
    if (this.#helper) return Promise.resolve(true);
    return new Promise((resolve) => {
      const port = chrome.runtime.connectNative(HELPER);
      port.onMessage.addListener((message) => {
        resolve(message.type === "hello" && message.version === VERSION);
        port.disconnect();
      });
      port.onDisconnect.addListener(() => resolve(!chrome.runtime.lastError));
      port.postMessage({ type: "hello", version: VERSION });
    });
  }

  // Shows the finished recording in the application. Resolves to whether it could be started.
  openInApplication() {
    return new Promise((resolve) => {
      const port = chrome.runtime.connectNative(HELPER);
      port.onMessage.addListener((message) => {
        if (message.type === "hello") {
          port.postMessage({ type: "open", project: this.finishedProject });
          return;
        }
        resolve(message.type === "opened");
        port.disconnect();
      });
      port.onDisconnect.addListener(() => resolve(false));
      port.postMessage({ type: "hello", version: VERSION });
    });
  }

  attachRecorder(port) {
    if (this.state !== "starting" || this.#recorder) {
      port.disconnect();
      return;
    }
    this.#recorder = port;
    port.onMessage.addListener((message) => this.#fromRecorder(message));
    port.onDisconnect.addListener(() => {
      this.#recorder = null;
      if (this.state !== "idle") this.#fail("recorder", "");
    });
    port.postMessage(this.#plan);
  }

  // Injects the pointer script into the recorded tab.
  async watchPointer(tab) {
    if (tab !== this.#tab || (this.state !== "recording" && this.state !== "paused")) return;
    // Frames and pages of other origins need the user's permission.
    await chrome.scripting.executeScript({ target: { tabId: tab, allFrames: true }, files: ["pointer.js"] }).catch(() => {});
  }

  #fromRecorder(message) {
    switch (message.type) {
      case "failed":
        this.#fail(message.reason, message.detail);
        break;
      case "recording":
        this.#startedAt = Date.now();
        this.#set("recording");
        this.watchPointer(this.#tab);
        break;
      case "level":
        this.#level = message.level;
        // The popup does not listen while it is closed.
        chrome.runtime.sendMessage({ to: "popup", level: message.level }).catch(() => {});
        break;
      case "ended": // The tab was closed, or the browser ended its capture.
        this.#rest();
        this.#set("stopping");
        break;
      default:
        this.#helper?.postMessage(message);
    }
  }

  #openHelper() {
    return new Promise((resolve, reject) => {
      const port = chrome.runtime.connectNative(HELPER);
      let isThere = false;
      this.#helper = port;
      port.onMessage.addListener((message) => {
        if (message.type === "hello") {
          isThere = message.version === VERSION;
          if (isThere) resolve();
          else reject({ reason: "version" });
          return;
        }
        this.#fromHelper(message);
      });
      port.onDisconnect.addListener(() => {
        const detail = chrome.runtime.lastError?.message ?? "";
        const reason = /not found|forbidden/i.test(detail) ? "missing" : "helper";
        reject({ reason, detail });
        if (this.#helper !== port) return;
        this.#helper = null;
        if (isThere) this.#fail(reason, detail); // Otherwise the pending greeting is rejected.
      });
      port.postMessage({ type: "hello", version: VERSION });
    });
  }

  #fromHelper(message) {
    if (message.type === "finished") {
      this.finishedProject = message.project;
      this.#close();
      this.#set("idle");
    } else if (message.type === "failed") {
      this.#fail(message.reason, message.detail);
    } else {
      this.#recorder?.postMessage(message);
    }
  }

  // The visible area of a tab, in CSS pixels, and its pixel ratio.
  async #areaOf(tab) {
    try {
      const [{ result }] = await chrome.scripting.executeScript({
        target: { tabId: tab },
        func: () => ({ width: innerWidth, height: innerHeight, ratio: devicePixelRatio }),
      });
      return result;
    } catch (error) {
      throw { reason: "page", detail: String(error?.message ?? error) };
    }
  }

  #rest() {
    if (this.state === "recording") this.#seconds += (Date.now() - this.#startedAt) / 1000;
  }

  #set(state) {
    this.state = state;
    this.#changed();
  }

  #fail(reason, detail) {
    if (this.state === "idle") return;
    this.#rest();
    this.failure = { reason, detail };
    this.#close();
    this.#set("idle");
  }

  #close() {
    const [recorder, helper] = [this.#recorder, this.#helper];
    this.#recorder = null;
    this.#helper = null;
    recorder?.disconnect();
    helper?.disconnect();
    chrome.offscreen.closeDocument().catch(() => {});
    if (this.#tab !== null) chrome.tabs.sendMessage(this.#tab, { to: "pointer", action: "end" }).catch(() => {});
  }
}
