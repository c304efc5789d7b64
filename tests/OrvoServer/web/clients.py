"""The two clients of the end-to-end test: `orvo`, and the application through its windows."""

import json
import os
import subprocess

from tab import expect, wait_for  # Also adds the next module's folder to the path.
from desktop import Desktop  # noqa: I001


class Orvo:
    """`orvo` with its own library below `folder`."""

    def __init__(self, program, folder, server):
        self.program = program
        self.environment = {**os.environ, "ORVO_LIBRARY": str(folder / "library"), "XDG_CONFIG_HOME": str(folder / "config"),
                            "ORVO_ADMIN_TOKEN": server.credential, "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}

    def __call__(self, *arguments):
        process = self._start(*arguments)
        answer = process.communicate()[0]
        expect(process.returncode == 0, f"orvo {arguments} ended with {process.returncode}: {answer.decode()}")
        return json.loads(answer)

    def connect(self, address, _credential):
        self("settings", "--server", address)

    def begin(self, project, origin):
        """Begins to publish with a public link; returns the process."""
        return self._start("publish", project, "--domain", origin, "--public-link")

    def publish(self, project, origin):
        """Publishes; returns the address of the public link."""
        return self("publish", project, "--domain", origin, "--public-link")["url"]

    def move(self, project, origin):
        """Restricts access to this origin, without a public link."""
        self("publish", project, "--only-access", "--domain", origin, "--private-link")

    def withdraw(self, project):
        self("unpublish", project)

    def photograph(self, file):
        pass

    def close(self):
        pass

    def _start(self, *arguments):
        return subprocess.Popen([self.program, *arguments, "--json"], env=self.environment, stdout=subprocess.PIPE)


class Windows:
    """The application on its own desktop, operated by its buttons and the keyboard. Uses the library below `folder`."""

    def __init__(self, program, hands, folder):
        self.program, self.library = program, folder / "library"
        home = folder / "desktop"
        home.mkdir()
        self.desktop = Desktop(home, hands)
        self.process = None

    def connect(self, address, credential):
        self._open()
        self.desktop.key("ctrl+comma")
        self.desktop.focus_window("Ajustes")
        self.desktop.fill("Servidor", address)
        self.desktop.key("Tab")
        self.desktop.type(credential)
        self.desktop.do("press", "Guardar y comprobar")
        self.desktop.do("see", "Conectado · el servidor guarda los vídeos")
        self.desktop.key("Escape")

    def begin(self, project, origin):
        self._open(project)
        self._permit(origin, "turn-on")
        self.desktop.do("press", "Publicar")
        return self.process

    def publish(self, project, origin):
        self.begin(project, origin)
        self.desktop.do("see", "Reemplazar vídeo publicado")
        document = self.library / project / "project.json"

        def publication():
            expect(self.process.poll() is None, "the application has ended")
            return json.loads(document.read_text()).get("publication")

        return wait_for("the publication in the document", publication)["url"]

    def move(self, _project, origin):
        self._permit(origin, "turn-off")
        self.desktop.do("press", "Actualizar dominios y acceso")
        self.desktop.do("see", "Permisos de publicación actualizados")

    def withdraw(self, _project):
        self.desktop.do("press", "Retirar publicación")
        self.desktop.do("see", "¿Retirar la publicación?")
        self.desktop.key("Tab")  # The default button keeps the publication.
        self.desktop.key("Return")
        self.desktop.do("see", "Publicar")

    def photograph(self, file):
        """Saves a screenshot, for failed tests."""
        self.desktop.photograph(file)

    def close(self):
        self._end()
        self.desktop.close()

    def _open(self, *arguments):
        """Restarts the application."""
        self._end()
        self.process = self.desktop.start(self.program, *arguments, ORVO_LIBRARY=str(self.library))
        self.desktop.focus_window("Orvo Video")

    def _end(self):
        if self.process and self.process.poll() is None:
            self.process.kill()
            self.process.wait()

    def _permit(self, origin, link):
        self.desktop.do("press", "Compartir")
        self.desktop.fill("Dominios autorizados", origin)
        self.desktop.do(link, "Permitir enlace público")
