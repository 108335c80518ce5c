#pragma once

#include "platform/Models.h"

#include <QString>

#include <optional>

/// What the share sheet says, as functions of values.
namespace driftwell {

/// What a mode of access is called, drawn as and explained by.
struct AccessModeTexts {
    QString label;
    QString symbol;
    QString description;
};

[[nodiscard]] AccessModeTexts textsOf(SiteAccessMode mode);

/// What is to be said below the people of a site; empty when that is nothing.
[[nodiscard]] QString peopleNote(const SiteAccess& access);

/// An address as it is sent: without the blanks around it, in small letters.
[[nodiscard]] QString cleanedAddress(const QString& typed);

/// Whether an address, as it was typed, is one that can be added to those who have access. The platform judges the
/// rest.
[[nodiscard]] bool canInvite(const QString& typed, const SiteAccess& access);

/// What stands for a shared library on screen.
[[nodiscard]] QString symbolOfLib(const QString& lib);
/// The name of a library's manifest as words.
[[nodiscard]] QString titleOfLib(const QString& manifestName);

} // namespace driftwell
