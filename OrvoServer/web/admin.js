import { details, row } from "./details.js";
import { element, icon } from "./dom.js";
import { healthPanel } from "./health.js";
import { ask } from "./requests.js";

const PAGE = 200; // Videos per response.
const TYPING = 250; // Milliseconds after the last key before the list is searched.

const ADDRESS = /^#video\/(.+)$/;

/** The page: the sign-in, or the list of videos with the server's health and the details of one video. */
class Administration {
  #videos = [];
  #total = 0;
  #asked = 0;
  #timer = 0;

  constructor(host) {
    this.host = host;
    this.error = element("p", { class: "failure", role: "alert", hidden: true });
    addEventListener("hashchange", () => this.#showChosen(true));
  }

  async open() {
    try {
      this.health = await ask("GET", "data/health");
    } catch (error) {
      if (error.status === 401) this.#signIn();
      else this.#broken(error);
      return;
    }
    this.#build();
    await this.#load();
  }

  #signIn(message = "") {
    document.body.className = "signing-in";
    const field = element("input", { type: "password", id: "token", name: "token", autocomplete: "current-password", required: true, spellcheck: "false" });
    const button = element("button", { type: "submit", class: "strong" }, "Entrar");
    const failure = element("p", { class: "failure", role: "alert" }, message);
    this.host.replaceChildren(element("form", { class: "panel sign-in", submit: async (event) => {
      event.preventDefault();
      button.disabled = true;
      failure.textContent = "";
      try {
        await ask("POST", "session", { token: field.value.trim() });
        await this.open();
      } catch (error) {
        failure.textContent = error.message;
        button.disabled = false;
        field.select();
      }
    } },
    element("h1", {}, "Orvo Video"),
    element("p", { class: "quiet" }, "Entra con la credencial de administración, la misma que usa la aplicación."),
    element("label", { for: "token" }, "Credencial"), field, failure, button));
    field.focus();
  }

  #broken(error) {
    document.body.className = "signing-in";
    this.host.replaceChildren(element("div", { class: "panel sign-in" }, element("h1", {}, "Orvo Video"),
      element("p", { class: "failure", role: "alert" }, error.message),
      element("button", { type: "button", class: "strong", click: () => this.open() }, "Reintentar")));
  }

  #build() {
    document.body.className = "";
    this.list = element("ul", { class: "videos" });
    this.more = element("button", { type: "button", class: "quiet-button more", hidden: true, click: () => this.#load(true) }, "Ver más");
    this.count = element("p", { class: "quiet count", role: "status" });
    this.search = element("input", { type: "search", placeholder: "Buscar por título", "aria-label": "Buscar por título", input: () => {
      clearTimeout(this.#timer);
      this.#timer = setTimeout(() => this.#load(), TYPING);
    } });
    this.detail = element("div", { class: "detail" });
    this.healthBox = element("div", {}, healthPanel(this.health));
    this.host.replaceChildren(
      element("div", { class: "head" }, element("h1", {}, "Orvo Video"),
        element("div", { class: "buttons" },
          element("button", { type: "button", class: "quiet-button", click: () => this.#refresh() }, icon("refresh-cw"), "Actualizar"),
          element("button", { type: "button", class: "quiet-button", click: () => this.#signOut() }, icon("log-out"), "Salir"))),
      this.error, this.healthBox,
      element("div", { class: "columns" },
        element("section", { class: "library", "aria-labelledby": "videos-title" },
          element("div", { class: "library-head" }, element("h2", { id: "videos-title" }, "Vídeos"), this.count), this.search, this.list, this.more),
        this.detail));
  }

  async #load(more = false) {
    const asked = ++this.#asked;
    const words = new URLSearchParams({ offset: more ? this.#videos.length : 0, limit: PAGE });
    if (this.search.value.trim()) words.set("q", this.search.value.trim());
    try {
      const { videos, total } = await ask("GET", `data/videos?${words}`);
      // The response to an older search may arrive later.
      if (asked !== this.#asked) return;
      this.#videos = more ? [...this.#videos, ...videos] : videos;
      this.#total = total;
      this.error.hidden = true;
      this.#showChosen();
    } catch (error) {
      this.#fail(error);
    }
  }

  #showList(chosen) {
    const focused = document.activeElement?.dataset?.id;
    this.list.replaceChildren(...this.#videos.map((video) => row(video, video.id === chosen, (id) => { location.hash = `video/${id}`; })));
    if (focused) this.list.querySelector(`[data-id="${CSS.escape(focused)}"]`)?.focus({ preventScroll: true });
    this.more.hidden = this.#videos.length >= this.#total;
    const searched = this.search.value.trim() !== "";
    this.count.textContent = this.#total ? String(this.#total) : "";
    if (this.#videos.length) return;
    this.list.replaceChildren(element("li", { class: "empty" }, searched ? "Ningún vídeo tiene ese título."
      : "Todavía no has publicado ningún vídeo. Ábrelo en Orvo Video y pulsa «Publicar»."));
  }

  #showChosen(moved = false) {
    if (!this.list) return;
    const wanted = decodeURIComponent(location.hash.match(ADDRESS)?.[1] ?? "");
    const video = this.#videos.find((one) => one.id === wanted);
    document.body.classList.toggle("one", Boolean(video));
    this.#showList(wanted);
    if (!video) {
      this.detail.replaceChildren(element("p", { class: "panel hint" }, "Elige un vídeo para ver cuánto se ve, dónde, y su código."));
      return;
    }
    this.detail.replaceChildren(details(video, {
      changed: () => this.#refresh(),
      back: () => { location.hash = ""; },
      fail: (error) => this.#fail(error),
    }));
    if (moved) this.detail.querySelector("h2").focus({ preventScroll: matchMedia("(min-width: 900px)").matches });
  }

  async #refresh() {
    try {
      this.health = await ask("GET", "data/health");
      this.healthBox.replaceChildren(healthPanel(this.health));
    } catch (error) {
      this.#fail(error);
      return;
    }
    await this.#load();
  }

  async #signOut() {
    await ask("DELETE", "session").catch(() => {});
    this.#signIn();
  }

  #fail(error) {
    if (error.status === 401) {
      this.#signIn("La sesión ha terminado. Vuelve a entrar.");
      return;
    }
    this.error.textContent = error.message;
    this.error.hidden = false;
  }
}

const main = element("main");
document.body.append(main);
new Administration(main).open();
