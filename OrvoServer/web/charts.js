import { element, shape } from "./dom.js";
import { number, times } from "./format.js";

const WIDTH = 720;
const BASE = 140; // The base line.

/** `places` are shown below the beginning, the middle and the end, in the size of other texts however small the drawing is. */
function drawing(label, places, ...parts) {
  return element("div", {},
    shape("svg", { viewBox: `0 0 ${WIDTH} ${BASE + 1}`, class: "chart", role: "img", "aria-label": label },
      shape("line", { x1: 0, y1: BASE + 0.5, x2: WIDTH, y2: BASE + 0.5, class: "axis" }), ...parts),
    element("div", { class: "places", "aria-hidden": "true" }, ...places.map((place) => element("span", {}, place))));
}

function titled(part, content) {
  const title = shape("title", {});
  title.textContent = content;
  part.append(title);
  return part;
}

const dayOf = (text) => new Date(`${text}T12:00:00`).toLocaleDateString("es", { day: "numeric", month: "short" });

/** Bars of [{ day: "2026-11-01", plays }]. */
export function playsByDay(days) {
  const total = days.reduce((sum, { plays }) => sum + plays, 0);
  if (!total) return element("p", { class: "empty" }, "Todavía no se ha visto.");
  const highest = Math.max(...days.map(({ plays }) => plays));
  const step = WIDTH / days.length;
  const bars = days.map(({ day, plays }, at) => {
    const height = plays / highest * (BASE - 8);
    // The whole column shows the tooltip.
    return titled(shape("g", { class: "column" },
      shape("rect", { x: at * step, y: 0, width: step, height: BASE, class: "back" }),
      shape("rect", { x: at * step + step * 0.14, y: BASE - height, width: step * 0.72, height, rx: Math.min(2, step * 0.2), class: "fill" })),
    `${dayOf(day)}: ${times(plays, "reproducción", "reproducciones")}`);
  });
  const last = days.length - 1;
  return drawing(`Reproducciones por día. ${times(total, "reproducción", "reproducciones")} en ${days.length} días; ${number(highest)} el día de más.`,
    [0, Math.floor(last / 2), last].map((at) => dayOf(days[at].day)), ...bars);
}

/** The share of plays that reached each tenth of the video. */
export function watchedTenths(tenths) {
  const most = Math.max(...tenths);
  if (!most) return element("p", { class: "empty" }, "Todavía no se ha visto.");
  const step = WIDTH / tenths.length;
  const y = (value) => BASE - value / most * (BASE - 8);
  const points = tenths.map((value, at) => `${(at + 0.5) * step},${y(value)}`);
  const share = (value) => Math.round(value / most * 100);
  const columns = tenths.map((value, at) => titled(shape("g", { class: "column" },
    shape("rect", { x: at * step, y: 0, width: step, height: BASE, class: "back" }),
    shape("circle", { cx: (at + 0.5) * step, cy: y(value), r: 4, class: "fill" })),
  `Del ${at * 10} al ${at * 10 + 10} %: ${times(value, "reproducción", "reproducciones")} (${share(value)} %)`));
  return drawing(`Hasta dónde se ve. De cada 100 reproducciones llegan: ${tenths.map((value, at) => `al ${at * 10 + 10} %, ${share(value)}`).join("; ")}.`,
    ["Comienzo", "Mitad", "Final"],
    shape("polygon", { points: `0,${BASE} 0,${y(tenths[0])} ${points.join(" ")} ${WIDTH},${y(tenths[9])} ${WIDTH},${BASE}`, class: "area" }),
    shape("polyline", { points: `0,${y(tenths[0])} ${points.join(" ")} ${WIDTH},${y(tenths[9])}`, class: "curve" }),
    ...columns);
}
