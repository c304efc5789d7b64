#include "cli/Elements.h"

#include "VideoCore/Error.h"
#include "cli/Library.h"
#include "cli/TextColumns.h"

#include <format>
#include <vector>

namespace orvo::cli {

Element findElement(const VideoProject& project, std::string_view reference)
{
    std::vector<Uuid> ids;
    for (const Overlay& overlay : project.edit.overlays)
        ids.push_back(overlay.id);
    for (const PointerEvent& event : project.edit.events)
        ids.push_back(event.id);
    const auto index = findById(reference, ids, "texto, imagen o zoom");
    if (!index)
        throw captureError(std::format("El proyecto no tiene ningún texto, imagen ni zoom {}.", inQuotes(reference)));
    const bool overlay = *index < project.edit.overlays.size();
    return {.kind = overlay ? Element::Kind::overlay : Element::Kind::event, .id = ids[*index]};
}

} // namespace orvo::cli
