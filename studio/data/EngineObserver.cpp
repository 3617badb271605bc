#include "studio/data/EngineObserver.h"

namespace studio::data {

EngineObserver::~EngineObserver() = default;

void EngineObserver::roundBegins(tarn::zero::ReportData const*) noexcept {}

void EngineObserver::symbolRebound(std::string_view) noexcept {}

void EngineObserver::expressionEvaluated(std::string const&, PropertyValue const&, PropertyValue const&) noexcept {}

void EngineObserver::handleNotified(std::string const&, PropertyValue const&) noexcept {}

void EngineObserver::roundEnds(tarn::zero::ReportData const*) noexcept {}

void EngineObserver::engineEnds() noexcept {}

void EngineObserver::roundsEnded() {}

}   // namespace studio::data
