#include "OrvoVideo/equipment/Equipment.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/LongWork.h"
#include "cli/Terminal.h"
#include "cli/TextColumns.h"

#include <format>
#include <ranges>

namespace orvo::cli {

namespace {

struct CheckArguments {
    std::string model;
};

JsonValue toJson(const EquipmentItem& item)
{
    return JsonValue::Object{{"name", EquipmentItem::name(item.kind)}, {"title", EquipmentItem::title(item.kind)},
        {"state", EquipmentItem::name(item.state)}, {"text", item.text}, {"advice", item.advice}, {"command", item.command}};
}

std::string toText(const EquipmentItem& item)
{
    using State = EquipmentItem::State;
    using Terminal::Tone;
    const auto mark = item.state == State::good ? Terminal::toned(Tone::good, "bien ")
        : item.state == State::limited          ? Terminal::toned(Tone::warning, "aviso")
                                                : Terminal::toned(Tone::bad, "falta");
    std::string text = std::format("{}  {}: {}\n", mark, EquipmentItem::title(item.kind), printable(item.text));
    if (item.state != State::good && !item.advice.empty())
        text += std::format("       {}\n", printable(item.advice));
    if (!item.command.empty())
        text += std::format("       {}\n", Terminal::toned(Tone::accent, printable(item.command)));
    return text;
}

void check(Session& session, const CheckArguments& arguments)
{
    const auto items = runInterruptibly("Comprobando",
        [&](const ProgressCallback&, const std::stop_token& stop) { return checkEquipment(arguments.model, stop); });
    if (session.json())
        return session.answer(
            JsonValue::Object{{"items", items | std::views::transform(toJson) | std::ranges::to<JsonValue::Array>()}});
    std::string text;
    for (const auto& item : items)
        text += toText(item);
    session.print(text);
}

} // namespace

void addCheckCommand(CLI::App& app, Session& session)
{
    addCommand<CheckArguments>(
        app, session,
        {"check", "Ajustes",
            "Comprueba el equipo: FFmpeg, modelo de voz, micrófono, pantalla…\nDe cada cosa dice cómo está y qué hacer. Es "
            "lo "
            "mismo que «Comprobar el equipo» en la aplicación."},
        [](Command& command, CheckArguments& arguments) {
            command.option(
                "--model", "NOMBRE", arguments.model, "El modelo de voz por el que se pregunta; base si no se indica.");
        },
        check);
}

} // namespace orvo::cli
