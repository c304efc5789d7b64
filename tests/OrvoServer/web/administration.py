"""What the administration page of the stand-in has to tell."""

import json
from urllib.parse import parse_qs, urlsplit

from stand_in import VIDEO


class Administration:
    def __init__(self, server):
        self.server = server

    def videos(self):
        base, address = self.server.prefix, self.server.address
        names = [
            (VIDEO, "Lección 3: «publicar» <b>un vídeo</b>", "published", ["https://www.escuela.es", "https://*.campus.es"], True, 1284),
            ("11111111-1111-4111-8111-111111111111", "Presentación del curso", "published", ["https://www.escuela.es"], False, 327),
            ("22222222-2222-4222-8222-222222222222", "Lección 4: los subtítulos", "uploading", [], False, 0),
            ("33333333-3333-4333-8333-333333333333", "Lección 5: un título muy largo que no cabe en una sola línea de la lista", "storing",
             ["https://www.escuela.es"], False, 0),
            ("44444444-4444-4444-8444-444444444444", "Examen de prueba", "error", ["https://www.escuela.es"], False, 2),
            ("55555555-5555-4555-8555-555555555555", "Versión antigua", "withdrawn", [], False, 41),
        ]
        return [{
            "id": identifier, "title": title, "state": "withdrawn" if identifier in self.server.withdrawn else state,
            "bytes": 48_500_000 + 313_000_000 * number, "createdAt": "2026-10-02T09:12:00Z", "updatedAt": f"2026-11-{20 - number:02}T17:45:00Z",
            "duration": None if state == "uploading" else 754 + 61 * number, "domains": domains, "publicLink": public,
            "poster": f"{base}/admin/poster/{identifier}" if state in ("published", "storing") else None,
            "embed": f'<iframe src="{address}/embed/{identifier}" title="Orvo Video" style="width:100%;aspect-ratio:16/9;border:0" '
                     'allow="autoplay; fullscreen" allowfullscreen loading="lazy"></iframe>',
            "watch": f"{address}/watch/{identifier}" if public else None, "plays": plays,
            "refusedOrigins": [{"origin": "https://copias.example", "times": 17, "last": "2026-11-19T08:03:00Z"},
                               {"origin": "https://escuela.es", "times": 3, "last": "2026-11-18T20:11:00Z"}] if public else [],
        } for number, (identifier, title, state, domains, public, plays) in enumerate(names)]

    def answer(self, method, parts, query, body):
        """The object to answer, 204, or None for what does not exist."""
        match method, parts:
            case "GET", ["data", "videos"]:
                wanted = parse_qs(query).get("q", [""])[0].lower()
                found = [video for video in self.videos() if wanted in video["title"].lower()]
                return {"videos": found, "total": len(found)}
            case "GET", ["data", "videos", identifier, "plays"]:
                plays = identifier == VIDEO
                days = [{"day": f"2026-{9 + at // 30:02}-{at % 30 + 1:02}", "plays": (at * 7) % 23 + (at // 10) * 2 if plays else 0}
                        for at in range(90)]
                return {"days": days, "tenths": [1284, 1190, 1102, 1051, 987, 930, 902, 871, 795, 612] if plays else [0] * 10}
            case "POST", ["data", "check"]:
                page = json.loads(body)["page"]
                host = urlsplit(page).hostname or ""
                allowed = host == "www.escuela.es" or host.endswith(".campus.es")
                return {"allowed": allowed, "reason": f"{host} está entre las páginas autorizadas." if allowed else
                        f"{host} no está entre las páginas autorizadas. Añádelo en la aplicación, en «Publicar»."}
            case "POST", ["data", "videos", identifier, "withdraw"]:
                self.server.withdrawn.add(identifier)
                return 204
            case "GET", ["data", "health"]:
                return {"ok": False, "version": "0.1.0", "storage": "local", "usedBytes": 3_480_000_000, "freeBytes": 41_200_000_000,
                        "checks": [
                            {"name": "Dirección", "ok": True, "detail": "El servidor responde en su dirección pública.", "remedy": ""},
                            {"name": "Certificado", "ok": False, "detail": "El certificado caduca dentro de 6 días.",
                             "remedy": "Renueva el certificado y reinicia el servidor, o deja que lo haga el proxy."},
                            {"name": "Disco", "ok": True, "detail": "Quedan 41,2 GB libres.", "remedy": ""},
                            {"name": "Reloj", "ok": True, "detail": "La hora es correcta.", "remedy": ""}]}
        return None
