#pragma once

#include <stop_token>
#include <string>
#include <string_view>

/// The user's secrets, kept by the desktop's service for them (the Secret Service of the session bus). Stateless; blocking
/// calls for worker threads.
///
/// The service has five seconds for an answer. Only while it asks the user for a password, which `Interaction` allows or
/// not, is it waited for as long as that takes. Failures carry the number of their cause:
///
/// | Number | Cause |
/// |---|---|
/// | 0 | The secret is empty, or no text. |
/// | -25300 | There is none. |
/// | 1 to 99 | As the service says; 2: it is locked and may not ask. |
/// | 100 and more | 100 and the number of a failed operation; 119: the user has refused; 124: no answer in time. |
/// | 200 and more | 200 and the number of a failure of the bus; 202: there is no such service. |
/// | 300 | There is no session bus. |
namespace orvo::Keychain {

/// Whether the user may be asked for the password of the keychain.
enum class Interaction : bool { forbidden, allowed };

/// The secret stored under an account of "es.orvo.video".
///
/// Throws `captureError` with "No se ha podido leer la credencial. Desbloquea el llavero Inicio de sesión y pulsa Leer del
/// llavero (NUMBER).", and `Cancelled`.
std::string load(std::string_view account, Interaction interaction, const std::stop_token& stop = {});

/// Stores a secret under an account of "es.orvo.video" in place of the one that is there. A text that is blank is refused
/// with "La credencial está vacía. Pulsa Leer del llavero antes de guardar; se conserva la credencial anterior.".
///
/// The user is asked for a password only when there was no secret yet. Throws `captureError` with "El llavero no ha
/// permitido guardar la credencial (NUMBER).", and `Cancelled`.
void save(std::string_view value, std::string_view key, const std::stop_token& stop = {});

} // namespace orvo::Keychain
