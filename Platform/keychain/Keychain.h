#pragma once

#include <stop_token>
#include <string>
#include <string_view>

/// The user's secrets in the desktop's keychain (the Secret Service on the session bus). Stateless; the calls block, use
/// worker threads.
///
/// The service must answer within five seconds. The limit does not run while it asks the user for a password, if
/// `Interaction` allows that. Errors carry the number of their cause:
///
/// | Number | Cause |
/// |---|---|
///  0 | The secret is empty or not text. |
///  -25300 | There is no such secret. |
///  1 to 99 | An error of the service; 2: locked, and asking is forbidden. |
///  100 and more | 100 + `GIOErrorEnum`; 119: the user refused; 124: no answer in time. |
///  200 and more | 200 + `GDBusError`; 202: no such service. |
///  300 | There is no session bus. |
namespace orvo::Keychain {

/// Whether the user may be asked for the keychain's password.
enum class Interaction : bool { forbidden, allowed };

/// Returns the secret stored for an account of "es.orvo.video".
///
/// Throws `captureError` with "No se ha podido leer la credencial. Desbloquea el llavero Inicio de sesión y pulsa Leer del
/// llavero (NUMBER).", and `Cancelled`.
std::string load(std::string_view account, Interaction interaction, const std::stop_token& stop = {});

/// Stores a secret for an account of "es.orvo.video", replacing an older one. Rejects blank text with "La credencial está
/// vacía. Pulsa Leer del llavero antes de guardar; se conserva la credencial anterior.".
///
/// The user is asked for a password only if no secret is stored yet. Throws `captureError` with "El llavero no ha
/// permitido guardar la credencial (NUMBER).", and `Cancelled`.
void save(std::string_view value, std::string_view key, const std::stop_token& stop = {});

} // namespace orvo::Keychain
