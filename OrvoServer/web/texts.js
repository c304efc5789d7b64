const texts = {
  es: {
    player: "Reproductor de vídeo",
    play: "Reproducir", pause: "Pausa", replay: "Ver otra vez",
    back: "Retroceder 10 segundos", forward: "Avanzar 10 segundos",
    seek: "Posición", seekValue: "{now} de {end}",
    mute: "Silenciar", unmute: "Activar el sonido", volume: "Volumen",
    captions: "Subtítulos", transcript: "Transcripción", settings: "Ajustes",
    fullscreen: "Pantalla completa", leaveFullscreen: "Salir de pantalla completa", pip: "Imagen sobre imagen",
    speed: "Velocidad", normal: "Normal", quality: "Calidad", auto: "Automática", autoAt: "Automática ({height}p)",
    captionSize: "Tamaño de los subtítulos", small: "Pequeño", medium: "Mediano", large: "Grande",
    keys: "Teclas", backTo: "Volver", close: "Cerrar",
    search: "Buscar en la transcripción", matches: "{at} de {count}", noMatches: "Sin resultados",
    previous: "Resultado anterior", next: "Resultado siguiente", goTo: "Ir a {time}", follow: "Volver a lo que se dice",
    resumed: "Sigues en {time}", restart: "Desde el principio",
    waiting: "Cargando", muted: "Sin sonido", on: "Subtítulos activados", off: "Subtítulos desactivados",
    offline: "Se ha perdido la conexión. El vídeo seguirá en cuanto vuelva.", retry: "Reintentar ahora",
    broken: "El vídeo no se puede reproducir. Vuelve a cargarlo; si no ayuda, prueba con otro navegador.",
    reload: "Volver a cargar",
    unsupported: "Este navegador no puede reproducir el vídeo. Ábrelo con una versión reciente de tu navegador.",
    refused: "Este vídeo no está disponible.",
    refusedMore: "Puede que se haya retirado o que ya no se pueda ver en esta página.",
    keyList: [["Espacio, K", "Reproducir o pausar"], ["J, L", "10 segundos atrás o adelante"], ["← →", "5 segundos atrás o adelante"],
      [", .", "Un fotograma atrás o adelante"], ["↑ ↓", "Volumen"], ["M", "Silenciar"], ["C", "Subtítulos"],
      ["T", "Transcripción"], ["F", "Pantalla completa"], ["I", "Imagen sobre imagen"], ["< >", "Velocidad"],
      ["0 – 9", "Ir a esa décima parte"], ["?", "Estas teclas"]],
  },
  en: {
    player: "Video player",
    play: "Play", pause: "Pause", replay: "Watch again",
    back: "Back 10 seconds", forward: "Forward 10 seconds",
    seek: "Position", seekValue: "{now} of {end}",
    mute: "Mute", unmute: "Unmute", volume: "Volume",
    captions: "Captions", transcript: "Transcript", settings: "Settings",
    fullscreen: "Full screen", leaveFullscreen: "Leave full screen", pip: "Picture in picture",
    speed: "Speed", normal: "Normal", quality: "Quality", auto: "Automatic", autoAt: "Automatic ({height}p)",
    captionSize: "Caption size", small: "Small", medium: "Medium", large: "Large",
    keys: "Keyboard", backTo: "Back", close: "Close",
    search: "Search the transcript", matches: "{at} of {count}", noMatches: "No matches",
    previous: "Previous match", next: "Next match", goTo: "Go to {time}", follow: "Back to what is being said",
    resumed: "Resumed at {time}", restart: "Start over",
    waiting: "Loading", muted: "Muted", on: "Captions on", off: "Captions off",
    offline: "The connection was lost. The video goes on as soon as it is back.", retry: "Try now",
    broken: "The video cannot be played. Reload it; if that does not help, try another browser.",
    reload: "Reload",
    unsupported: "This browser cannot play the video. Open it with a recent version of your browser.",
    refused: "This video is not available.",
    refusedMore: "It may have been withdrawn, or it can no longer be watched on this page.",
    keyList: [["Space, K", "Play or pause"], ["J, L", "10 seconds back or forward"], ["← →", "5 seconds back or forward"],
      [", .", "One frame back or forward"], ["↑ ↓", "Volume"], ["M", "Mute"], ["C", "Captions"], ["T", "Transcript"],
      ["F", "Full screen"], ["I", "Picture in picture"], ["< >", "Speed"], ["0 – 9", "Go to that tenth"], ["?", "These keys"]],
  },
};

/** Spanish for browsers in a language of Spain, English for all others. */
export const language = /^(es|ca|gl|eu|ast|an|oc)\b/i.test(navigator.language || "") ? "es" : "en";

/** A text in the viewer's language, with {names} replaced. */
export function text(name, values = {}) {
  const found = texts[language][name];
  return typeof found === "string" ? found.replace(/\{(\w+)\}/g, (_, key) => values[key]) : found;
}
