"""Checks the administration page of a real server, as an author uses it."""

from tab import Tab, appears, expect, find_barriers

LOOKS = [{"scheme": scheme, "width": width, "height": height} for scheme in ("dark", "light") for width, height in ((1280, 720), (360, 640))]
REFRESH = "[...document.querySelectorAll('button')].find((one) => one.textContent === 'Actualizar').click()"


def sign_in(tab, token):
    appears(tab, "#token")
    tab.run("document.querySelector('#token').focus(), document.querySelector('#token').value = ''")
    tab.call("Input.insertText", text=token)
    tab.run("document.querySelector('form button').click()")


def is_accessible(browser, server, axe):
    """Checks the page with axe in both schemes and sizes: signed out, only the sign-in; signed in, also the details."""
    for look in LOOKS:
        tab = Tab(browser, f"{server.address}/admin/", **look)
        appears(tab, "main")
        tab.run("new Promise((done) => { const look = () => document.querySelector('#token, .video') ? done() : setTimeout(look, 20); look(); })")
        tab.run(axe)
        find_barriers(tab, f"the first page, {look}")
        if tab.run("Boolean(document.querySelector('.video'))"):
            tab.run("document.querySelector('.video').click()")
            appears(tab, ".details .chart")
            find_barriers(tab, f"details, {look}")
            tab.run("document.querySelector('.danger-outline').click()")
            find_barriers(tab, f"confirmation, {look}")
        tab.close()


def administers(browser, server, project, refused, axe):
    """Signs in, opens a video, checks a page, withdraws the video after a confirmation, and loses the session. A page at the
    origin `refused` has tried to embed the video."""
    is_accessible(browser, server, axe)
    tab = Tab(browser, f"{server.address}/admin/")
    sign_in(tab, "otra")
    appears(tab, ".failure", "Credencial incorrecta.")
    sign_in(tab, server.credential)
    appears(tab, ".video")
    is_accessible(browser, server, axe)
    expect(tab.run("document.querySelectorAll('.video').length") == 1, "the list does not hold one video")
    appears(tab, ".checks", "Almacén")
    tab.run("document.querySelector('.video').click()")
    appears(tab, ".details .chart")
    expect("<b>" in tab.run("document.querySelector('#video-title').textContent"), "the title is parsed as HTML")
    expect(tab.run("document.querySelector('textarea').value.startsWith('<iframe ')"), "the embed code is missing")
    appears(tab, "table", refused)
    tab.run("document.querySelector('.inline input').focus()")
    tab.call("Input.insertText", text="copias.example/pagina")
    tab.run("document.querySelector('.inline button').click()")
    appears(tab, ".outcome.no", "No se verá.")

    # The default button keeps the video published.
    tab.run("document.querySelector('.danger-outline').click()")
    expect(tab.run("document.activeElement.textContent") == "Seguir publicado", "another button has the focus")
    tab.run("document.activeElement.click()")
    expect(server.status(f"/embed/{project}") == 200 and tab.run("!document.querySelector('dialog').open"), "the video was withdrawn")
    tab.run("document.querySelector('.danger-outline').click(), document.querySelector('.danger').click()")
    appears(tab, ".details .state", "Retirado")
    expect(server.status(f"/embed/{project}") == 404, "the video was not withdrawn")

    tab.run("fetch('session', { method: 'DELETE', headers: { 'X-Orvo-Admin': '1' } }).then(() => true)")  # As another tab.
    tab.run(REFRESH)
    appears(tab, ".failure", "La sesión ha terminado.")
    tab.expect_quiet()
