/** A request that the server refused, with its message. */
export class Refusal extends Error {
  constructor(status, message) {
    super(message);
    this.status = status;
  }
}

const AWAY = "No se puede hablar con el servidor. Comprueba la conexión y vuelve a intentarlo.";

/**
 * Sends a request to the administration's interface. Addresses are relative to the page, which ends in "admin/". Returns the object
 * of the response, or null; throws Refusal.
 */
export async function ask(method, path, body) {
  let answer;
  try {
    answer = await fetch(path, {
      method,
      headers: { "X-Orvo-Admin": "1", ...(body ? { "Content-Type": "application/json" } : {}) },
      body: body && JSON.stringify(body),
      credentials: "same-origin",
      cache: "no-store",
    });
  } catch {
    throw new Refusal(0, AWAY);
  }
  const content = answer.status === 204 ? null : await answer.json().catch(() => null);
  if (!answer.ok) throw new Refusal(answer.status, content?.error ?? "El servidor no ha podido completar la petición.");
  return content;
}
