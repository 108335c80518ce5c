#include "ui/window/KeyListModel.h"

#include <QString>

#include <array>

namespace driftwell {

namespace {

struct KeyHelp {
    const char16_t* keys;
    const char16_t* action;
};

/// The manual has the same list.
constexpr std::array keyHelp{
    KeyHelp{u"Ctrl+D", u"New project: choose a folder"},
    KeyHelp{u"Ctrl+F", u"Filter by name or address; Escape clears it, Down goes on to the projects"},
    KeyHelp{u"Arrows, Page Up, Page Down, Home, End", u"Go through the projects"},
    KeyHelp{u"Letters", u"Go to the project that begins with them"},
    KeyHelp{u"Return", u"Open the project in the browser"},
    KeyHelp{u"Ctrl+C", u"Copy the address of the project, or of the site that has just gone live"},
    KeyHelp{u"Menu, Shift+F10", u"What else can be done with the project"},
    KeyHelp{u"Tab", u"Go through the window"},
    KeyHelp{u"F5", u"Refresh the projects"},
    KeyHelp{u"Escape", u"Close a sheet, the logs or a menu; cancel a deployment"},
    KeyHelp{u"Ctrl+comma", u"Open the settings"},
    KeyHelp{u"Ctrl+W", u"Close the window"},
    KeyHelp{u"Ctrl+Q", u"Quit"},
    KeyHelp{u"F1", u"Show this list"},
};

} // namespace

int KeyListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(keyHelp.size());
}

QVariant KeyListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const KeyHelp& help = keyHelp.at(static_cast<std::size_t>(index.row()));
    switch (role) {
    case KeysRole:
        return QString::fromUtf16(help.keys);
    case ActionRole:
        return QString::fromUtf16(help.action);
    default:
        return {};
    }
}

QHash<int, QByteArray> KeyListModel::roleNames() const {
    return {{KeysRole, "keys"}, {ActionRole, "action"}};
}

} // namespace driftwell
