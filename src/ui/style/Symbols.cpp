#include "ui/style/Symbols.h"

#include <QFontDatabase>

#include <algorithm>
#include <array>
#include <cmath>

namespace driftwell {

namespace {

struct Symbol {
    QStringView name;
    char16_t glyph;
};

constexpr std::array symbols{
    Symbol{u"antenna.radiowaves.left.and.right", 0xE8BF},        // settings_input_antenna
    Symbol{u"arrow.triangle.merge", 0xE252},                     // merge_type
    Symbol{u"arrow.up", 0xE5D8},                                 // arrow_upward
    Symbol{u"arrow.up.right", 0xE0B2},                           // call_made
    Symbol{u"arrow.uturn.backward", 0xE166},                     // undo
    Symbol{u"bubble.left", 0xE0CB},                              // chat_bubble_outline
    Symbol{u"bubble.left.and.bubble.right", 0xE0BF},             // forum
    Symbol{u"checkmark", 0xE5CA},                                // check
    Symbol{u"checkmark.circle.fill", 0xE86C},                    // check_circle
    Symbol{u"chevron.down", 0xE5CF},                             // expand_more
    Symbol{u"chevron.left.forwardslash.chevron.right", 0xE86F},  // code
    Symbol{u"chevron.right", 0xE5CC},                            // chevron_right
    Symbol{u"circle", 0xE836},                                   // radio_button_unchecked
    Symbol{u"cursorarrow.motionlines", 0xE762},                  // ads_click
    Symbol{u"doc.on.clipboard", 0xE14F},                         // content_paste
    Symbol{u"doc.text", 0xE873},                                 // description
    Symbol{u"ellipsis", 0xE5D3},                                 // more_horiz
    Symbol{u"exclamationmark.circle", 0xE001},                   // error_outline
    Symbol{u"exclamationmark.triangle", 0xE002},                 // warning
    Symbol{u"exclamationmark.triangle.fill", 0xE002},            // warning
    Symbol{u"folder", 0xE2C7},                                   // folder
    Symbol{u"folder.badge.plus", 0xE2CC},                        // create_new_folder
    Symbol{u"folder.fill", 0xE2C7},                              // folder
    Symbol{u"globe", 0xE80B},                                    // public
    Symbol{u"link", 0xE157},                                     // link
    Symbol{u"macwindow", 0xE069},                                // web_asset
    Symbol{u"magnifyingglass", 0xE8B6},                          // search
    Symbol{u"menubar.arrow.up.rectangle", 0xE89D},               // open_in_browser
    Symbol{u"person.2", 0xE7FB},                                 // people
    Symbol{u"person.badge.key", 0xE0DA},                         // vpn_key
    Symbol{u"person.badge.plus", 0xE7FE},                        // person_add
    Symbol{u"person.crop.circle", 0xE853},                       // account_circle
    Symbol{u"person.crop.circle.badge.checkmark", 0xE174},       // how_to_reg
    Symbol{u"person.crop.circle.badge.exclamationmark", 0xF03E}, // no_accounts
    Symbol{u"plus", 0xE145},                                     // add
    Symbol{u"puzzlepiece.extension", 0xE87B},                    // extension
    Symbol{u"sparkles", 0xE65F},                                 // auto_awesome
    Symbol{u"square.stack.3d.up", 0xE53B},                       // layers
    Symbol{u"terminal", 0xEB8E},                                 // terminal
    Symbol{u"trash", 0xE872},                                    // delete
    Symbol{u"window.close", 0xE5CD},                             // close
    Symbol{u"window.maximize", 0xE3C6},                          // crop_square
    Symbol{u"window.minimize", 0xE15B},                          // remove
    Symbol{u"window.restore", 0xE3E0},                           // filter_none
    Symbol{u"wrench.and.screwdriver", 0xF10B},                   // handyman
    Symbol{u"xmark", 0xE5CD},                                    // close
    Symbol{u"xmark.circle.fill", 0xE5C9},                        // cancel
};

} // namespace

QString Symbols::family() {
    static const QString family = [] {
        const int font =
            QFontDatabase::addApplicationFont(QStringLiteral(":/driftwell/fonts/MaterialIcons-Regular.ttf"));
        return QFontDatabase::applicationFontFamilies(font).value(0);
    }();
    return family;
}

int Symbols::pixelSize(double size) {
    return static_cast<int>(std::lround(size * opticalFactor));
}

QString Symbols::glyph(const QString& name) {
    const auto found =
        std::find_if(symbols.begin(), symbols.end(), [&name](const Symbol& symbol) { return symbol.name == name; });
    return found == symbols.end() ? QString() : QString(QChar(found->glyph));
}

} // namespace driftwell
