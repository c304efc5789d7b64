import { element, icon } from "./dom.js";
import { text } from "./texts.js";

/**
 * A menu with pages over the player. `pages()` returns { name: { title, items } }, and is called for every page that is shown; the
 * first is "main". An item is { label, value, page } to open a page, { label, checked, choose } as a radio item, or
 * { label, choose }.
 */
export class Menu {
  constructor(button, pages) {
    this.button = button;
    this.pages = pages;
    /** Whether the current press closed the menu and must have no other effect. */
    this.justDismissed = false;
    this.panel = element("div", { class: "menu", role: "menu", "aria-label": text("settings"), hidden: true });
    button.setAttribute("aria-haspopup", "menu");
    button.setAttribute("aria-expanded", "false");
    button.addEventListener("click", () => (this.open ? this.close() : this.show("main")));
    this.panel.addEventListener("keydown", (event) => this.#key(event));
    document.addEventListener("pointerdown", (event) => {
      this.justDismissed = this.open && !this.panel.contains(event.target) && !button.contains(event.target);
      if (this.justDismissed) this.close(false);
    });
  }

  get open() {
    return !this.panel.hidden;
  }

  show(name, focused = 0) {
    const { title, items } = this.pages()[name];
    this.page = name;
    const back = name === "main" ? [] : [element("button", { class: "item back", role: "menuitem", type: "button",
      "aria-label": `${text("backTo")}: ${title}`, click: () => this.#back() }, icon("chevron-left"), title)];
    const made = items.map((item) => this.#item(item));
    this.panel.replaceChildren(...back, ...made);
    this.panel.hidden = false;
    this.button.setAttribute("aria-expanded", "true");
    const chosen = made.findIndex((one) => one.getAttribute("aria-checked") === "true");
    (made[Math.max(focused, chosen)] ?? made[0]).focus({ preventScroll: true });
  }

  close(refocus = true) {
    if (!this.open) return;
    this.panel.hidden = true;
    this.button.setAttribute("aria-expanded", "false");
    if (refocus) this.button.focus({ preventScroll: true });
  }

  #item({ label, value, page, checked, choose }) {
    const isChoice = checked !== undefined;
    return element("button", {
      class: "item", type: "button", role: isChoice ? "menuitemradio" : "menuitem",
      "aria-checked": isChoice ? String(checked) : null, "aria-haspopup": page ? "menu" : null,
      click: () => {
        if (page) this.show(page);
        else {
          choose();
          if (isChoice) this.#back();
          else this.close(false);
        }
      },
    }, isChoice ? icon("check") : null, element("span", { class: "label" }, label),
    page ? element("span", { class: "value" }, value) : null, page ? icon("chevron-right") : null);
  }

  #back() {
    const from = this.page;
    const index = this.pages().main.items.findIndex((item) => item.page === from);
    this.show("main", Math.max(0, index));
  }

  #key(event) {
    const items = [...this.panel.children];
    const at = items.indexOf(document.activeElement);
    const moves = { ArrowDown: at + 1, ArrowUp: at - 1 + items.length, Home: 0, End: items.length - 1 };
    if (event.key in moves) items[moves[event.key] % items.length].focus();
    else if (event.key === "Escape" || (event.key === "ArrowLeft" && this.page === "main")) this.close();
    else if (event.key === "ArrowLeft") this.#back();
    else if (event.key === "ArrowRight") items[at]?.getAttribute("aria-haspopup") && items[at].click();
    else if (event.key === "Tab") { this.close(); return; }
    else if (event.key !== "Enter" && event.key !== " ") return;
    event.stopPropagation();
    if (event.key !== "Enter" && event.key !== " ") event.preventDefault();
  }
}
