// Runs in the recorded page and its frames. Reports the pointer's position twelve times per second while it moves, and
// every press, in fractions of the tab's area.

(() => {
  if (globalThis.orvoWatchesPointer) return;
  globalThis.orvoWatchesPointer = true;

  const SAMPLE = 1000 / 12; // Milliseconds.
  const BATCH = 500;
  const isTop = window === window.top;
  let origin = null; // The origin of the tab's area on the screen, in CSS pixels of this page.
  let size = isTop ? null : undefined;
  let latest = null;
  let events = [];
  const ending = new AbortController();

  // A frame knows the pointer's position on the screen; only the top page knows the area's origin there.
  function informFrames(event) {
    if (!isTop) return;
    const area = { orvoArea: { x: event.screenX - event.clientX, y: event.screenY - event.clientY, width: innerWidth, height: innerHeight } };
    for (let i = 0; i < window.frames.length; ++i) window.frames[i].postMessage(area, "*");
  }

  function position(event) {
    if (isTop) return { x: event.clientX / innerWidth, y: event.clientY / innerHeight };
    if (!origin) return null;
    return { x: (event.screenX - origin.x) / size.width, y: (event.screenY - origin.y) / size.height };
  }

  function note(kind, event) {
    const place = position(event);
    if (!place || place.x < 0 || place.x > 1 || place.y < 0 || place.y > 1) return;
    latest = place;
    if (kind === "click") {
      events.push({ kind, at: performance.now(), ...place });
      send(); // A pause or the end may follow at once.
    }
  }

  function send() {
    if (!events.length) return;
    // A page's clock stops while the machine sleeps, so only differences are meaningful elsewhere.
    const now = performance.now();
    const batch = events.map(({ at, ...event }) => ({ ...event, age: now - at }));
    events = [];
    // Rejected when the extension was updated or removed.
    chrome.runtime.sendMessage({ to: "background", action: "pointer", events: batch }).catch(end);
  }

  function end() {
    ending.abort();
    clearInterval(sampler);
    clearInterval(sender);
    globalThis.orvoWatchesPointer = false;
  }

  const options = { capture: true, passive: true, signal: ending.signal };
  addEventListener("pointermove", (event) => {
    informFrames(event);
    note("move", event);
  }, options);
  addEventListener("pointerdown", (event) => {
    informFrames(event);
    if (event.button === 0 || event.button === 2) note("click", event);
  }, options);
  // After leaving this document, another one reports the pointer.
  document.documentElement.addEventListener("pointerleave", () => { latest = null; }, options);
  if (!isTop) {
    addEventListener("message", (event) => {
      const area = event.data?.orvoArea;
      if (event.source !== window.top && event.source !== window.parent) return;
      if (!area || ![area.x, area.y, area.width, area.height].every(Number.isFinite)) return;
      origin = { x: area.x, y: area.y };
      size = { width: area.width, height: area.height };
      for (let i = 0; i < window.frames.length; ++i) window.frames[i].postMessage(event.data, "*");
    }, options);
  }
  chrome.runtime.onMessage.addListener((message) => {
    if (message?.to === "pointer" && message.action === "end") end();
  });

  const sampler = setInterval(() => {
    if (latest) events.push({ kind: "move", at: performance.now(), ...latest });
  }, SAMPLE);
  const sender = setInterval(send, BATCH);
})();
