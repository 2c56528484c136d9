#include "cli/UnitReport.h"

#include "cli/JsonWriter.h"
#include "cli/PatternReport.h"
#include "model/CKitMgr.h"
#include "model/CPatternMgr.h"
#include "model/Context.h"

#include <iomanip>

namespace tavrel::cli {

namespace {

void optionalString(JsonWriter& json, const std::string& text) {
    if (text.empty()) {
        json.nullValue();
    } else {
        json.value(text);
    }
}

void statusJson(const UnitReport::Status& status, std::ostream& out) {
    JsonWriter json(out);
    json.beginObject().key("connected").value(status.connected).key("model");
    optionalString(json, status.model);
    json.key("editorMode").value(status.held ? 1 : 0);
    json.key("mounted").value(status.volumeRoot.has_value()).key("volumeRoot");
    optionalString(json, status.volumeRoot ? status.volumeRoot->string() : std::string());
    json.endObject();
    out << '\n';
}

void statusText(const UnitReport::Status& status, std::ostream& out) {
    out << "unit:        " << (status.connected ? status.model : "not connected") << '\n';
    if (status.connected) {
        out << "editor mode: " << (status.held ? "held by an editor" : "free") << '\n';
    }
    out << "storage:     "
        << (status.volumeRoot ? "mounted at " + status.volumeRoot->string() : "not mounted")
        << '\n';
}

void loadJson(const UnitReport::Load& load, std::ostream& out) {
    Context& context = Context::current();
    JsonWriter json(out);
    json.beginObject().key("ok").value(load.ok).key("model");
    optionalString(json, load.model);
    json.key("elapsed_ms").value(static_cast<std::int64_t>(load.elapsed.count()));
    json.key("kits").beginArray();
    for (const std::string& name : context.kits().getKitArray()) json.value(name);
    json.endArray().key("patterns");
    PatternReport::writeJson(json, context.patterns().getPtnData());
    if (load.alert) json.key("alert").value(*load.alert);
    json.endObject();
    out << '\n';
}

// Kits are numbered as patterns name them, from 0.
void loadText(const UnitReport::Load& load, std::ostream& out) {
    Context& context = Context::current();
    const auto& kits = context.kits().getKitArray();
    out << load.model << " loaded in " << load.elapsed.count() << " ms\n"
        << kits.size() << (kits.size() == 1 ? " kit\n" : " kits\n");
    for (std::size_t i = 0; i < kits.size(); ++i) {
        out << std::setw(5) << i << "  " << kits[i] << '\n';
    }
    PatternReport::printText(context.patterns().getPtnData(), out);
}

}  // namespace

void UnitReport::printStatus(const Status& status, bool json, std::ostream& out) {
    if (json) {
        statusJson(status, out);
    } else {
        statusText(status, out);
    }
}

void UnitReport::printLoad(const Load& load, bool json, std::ostream& out) {
    if (json) {
        loadJson(load, out);
    } else if (load.ok) {
        loadText(load, out);
    }
}

}  // namespace tavrel::cli
