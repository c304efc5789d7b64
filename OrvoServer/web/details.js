import { playsByDay, watchedTenths } from "./charts.js";
import { clock, element, icon } from "./dom.js";
import { bytes, day, number, STATES, times } from "./format.js";
import { ask } from "./requests.js";

function section(title, ...content) {
  return element("section", { class: "panel" }, element("h3", {}, title), ...content);
}

function fact(name, value) {
  return value ? [element("dt", {}, name), element("dd", {}, value)] : [];
}

/** Copies a text, even without the Clipboard API, which pages without TLS lack. */
async function copy(field) {
  try {
    await navigator.clipboard.writeText(field.value);
  } catch {
    field.select();
    document.execCommand("copy");
  }
}

function copiable(label, value, isLong) {
  const field = element(isLong ? "textarea" : "input", { readonly: true, "aria-label": label, rows: isLong ? "4" : null, spellcheck: "false" });
  field.value = value;
  const button = element("button", { type: "button", class: "quiet-button", click: async () => {
    await copy(field);
    button.lastChild.textContent = "Copiado";
    setTimeout(() => { button.lastChild.textContent = "Copiar"; }, 2000);
  } }, icon("copy"), element("span", { "aria-live": "polite" }, "Copiar"));
  field.addEventListener("focus", () => field.select());
  return element("div", { class: "copiable" }, field, button);
}

function pageCheck(video, fail) {
  const field = element("input", { type: "text", inputmode: "url", placeholder: "https://www.tu-web.es/curso", "aria-label": "Dirección de la página",
    autocomplete: "off", spellcheck: "false" });
  const outcome = element("p", { class: "outcome", role: "status" });
  const form = element("form", { class: "inline", submit: async (event) => {
    event.preventDefault();
    const typed = field.value.trim();
    if (!typed) return;
    const page = /^[a-z]+:\/\//i.test(typed) ? typed : `https://${typed}`;
    try {
      const { allowed, reason } = await ask("POST", "data/check", { id: video.id, page });
      outcome.replaceChildren(icon(allowed ? "circle-check" : "triangle-alert"), element("span", {},
        element("strong", {}, allowed ? "Sí se verá. " : "No se verá. "), reason));
      outcome.className = `outcome ${allowed ? "yes" : "no"}`;
    } catch (error) {
      fail(error);
    }
  } }, field, element("button", { type: "submit", class: "quiet-button" }, "Comprobar"));
  return section("¿Se verá en https://…?", form, outcome);
}

function withdrawal(video, changed, fail) {
  const keep = element("button", { type: "submit", class: "quiet-button", autofocus: true, value: "" }, "Seguir publicado");
  const dialog = element("dialog", { class: "confirm", "aria-labelledby": "withdraw-title" },
    element("form", { method: "dialog" },
      element("h2", { id: "withdraw-title" }, "¿Retirar el vídeo?"),
      element("p", {}, `«${video.title}» deja de verse en las páginas que lo muestran y su enlace deja de funcionar. `
        + "El proyecto se queda en tu equipo y puedes publicarlo otra vez."),
      element("div", { class: "buttons" }, keep,
        element("button", { type: "button", class: "danger", click: () => dialog.close("withdraw") }, "Retirar"))));
  dialog.addEventListener("close", async () => {
    if (dialog.returnValue !== "withdraw") return;
    try {
      await ask("POST", `data/videos/${encodeURIComponent(video.id)}/withdraw`);
      changed();
    } catch (error) {
      fail(error);
    }
  });
  return [dialog, element("button", { type: "button", class: "danger-outline", click: () => {
    dialog.returnValue = "";
    dialog.showModal();
    keep.focus();
  } }, icon("trash-2"), "Retirar…")];
}

/**
 * The details of one video. `changed()` is called after it was withdrawn, `back()` returns to the list, `fail(error)` shows an error
 * of the server.
 */
export function details(video, { changed, back, fail }) {
  const days = element("div", { class: "drawing" }, element("p", { class: "empty" }, "Cargando…"));
  const tenths = element("div", { class: "drawing" });
  ask("GET", `data/videos/${encodeURIComponent(video.id)}/plays`).then((plays) => {
    days.replaceChildren(playsByDay(plays.days));
    tenths.replaceChildren(watchedTenths(plays.tenths));
  }, (error) => {
    days.replaceChildren(element("p", { class: "empty" }, error.message));
    tenths.replaceChildren();
  });
  const isGone = video.state === "withdrawn";
  const places = video.domains.length ? element("ul", { class: "places" }, video.domains.map((domain) => element("li", {}, domain)))
    : element("p", { class: "empty" }, "En ninguna página. Añádelas en la aplicación, en «Publicar».");
  return element("article", { class: "details", "aria-labelledby": "video-title" },
    element("button", { type: "button", class: "back quiet-button", click: back }, icon("chevron-left"), "Vídeos"),
    element("header", {},
      element("h2", { id: "video-title", tabindex: "-1" }, video.title || "Sin título"),
      element("span", { class: `state ${video.state}` }, STATES[video.state] ?? video.state)),
    element("dl", { class: "facts" },
      fact("Duración", video.duration ? clock(video.duration) : ""), fact("Tamaño", bytes(video.bytes)),
      fact("Publicado", day(video.createdAt)), fact("Cambiado", day(video.updatedAt)),
      fact("Reproducciones", number(video.plays))),
    section("Reproducciones por día", days),
    section("Hasta dónde se ve", tenths),
    isGone ? null : section("Código para tu página", copiable("Código para incrustar", video.embed, true)),
    isGone || !video.watch ? null : section("Enlace público", copiable("Enlace público", video.watch, false)),
    isGone ? null : section("Dónde se puede ver", places),
    isGone ? null : pageCheck(video, fail),
    video.refusedOrigins.length ? section("Lo han intentado desde otras páginas",
      element("div", { class: "scrolls" }, element("table", {},
        element("thead", {}, element("tr", {}, element("th", { scope: "col" }, "Página"), element("th", { scope: "col" }, "Veces"),
          element("th", { scope: "col" }, "Última vez"))),
        element("tbody", {}, video.refusedOrigins.map(({ origin, times: count, last }) => element("tr", {},
          element("td", {}, origin), element("td", {}, number(count)), element("td", {}, day(last)))))))) : null,
    isGone ? null : element("div", { class: "end" }, withdrawal(video, changed, fail)));
}

/** The row of a video in the list. */
export function row(video, chosen, choose) {
  const poster = video.poster ? element("img", { src: video.poster, alt: "", loading: "lazy", width: "112", height: "63" })
    : element("span", { class: "no-poster" }, icon("film"));
  const facts = [bytes(video.bytes), video.duration ? clock(video.duration) : "", times(video.plays, "reproducción", "reproducciones")];
  return element("li", {}, element("button", { type: "button", class: "video", "aria-current": chosen ? "true" : null, "data-id": video.id,
    click: () => choose(video.id) }, poster,
  element("span", { class: "about" },
    element("span", { class: "name" }, video.title || "Sin título"),
    element("span", { class: "quiet" }, facts.filter(Boolean).join(" · ")),
    element("span", { class: "marks" }, element("span", { class: `state ${video.state}` }, STATES[video.state] ?? video.state),
      video.refusedOrigins.length ? element("span", { class: "state tried" }, "Intentos desde fuera") : null))));
}
