import { element, icon } from "./dom.js";
import { bytes } from "./format.js";

const STORAGES = { local: "En el disco del servidor", s3: "En un almacén S3", drive: "En Google Drive" };

/** The state of the server, and the remedies for its problems. */
export function healthPanel(health) {
  const { usedBytes: used = 0, freeBytes: free = 0 } = health;
  const wrong = health.checks.filter((check) => !check.ok);
  const right = health.checks.filter((check) => check.ok);
  const meter = element("progress", { class: "meter", max: String(Math.max(1, used + free)), value: String(used), "aria-label": "Espacio usado" });
  return element("section", { class: "health", "aria-labelledby": "health-title" },
    element("div", { class: "panel storage" },
      element("h2", {}, "Espacio"),
      element("p", { class: "figure" }, bytes(used)),
      free > 0 ? meter : null,
      element("p", { class: "quiet" }, [STORAGES[health.storage] ?? "", free > 0 ? `quedan ${bytes(free)}` : ""].filter(Boolean).join(" · "))),
    element("div", { class: "panel checks" },
      element("h2", { id: "health-title" }, wrong.length ? "Necesita tu atención" : "Todo funciona"),
      wrong.length ? element("ul", { class: "wrong" }, wrong.map(({ name, detail, remedy }) => element("li", {}, icon("triangle-alert"),
        element("div", {}, element("p", {}, element("strong", {}, `${name}. `), detail), remedy ? element("p", { class: "quiet" }, remedy) : null)))) : null,
      right.length ? element("details", { open: !wrong.length && right.length < 5 },
        element("summary", {}, right.length === 1 ? "1 comprobación correcta" : `${right.length} comprobaciones correctas`),
        element("ul", { class: "right" }, right.map(({ name, detail }) => element("li", {}, icon("circle-check"),
          element("p", {}, element("strong", {}, `${name}. `), detail))))) : null,
      element("p", { class: "quiet version" }, `Orvo Video ${health.version}`)));
}
