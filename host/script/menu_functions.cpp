#include "host/script/menu_functions.h"

#include "host/script/engine.h"
#include "host/services/utf8.h"

namespace host {
namespace {

constexpr int kMostItems = 10000;
constexpr int kDeepestMenu = 16;
constexpr std::size_t kLongestTitle = 200;

MenuBuilder& builder() { return *static_cast<MenuBuilder*>(asGetActiveContext()->GetUserData()); }

void raise(const char* reason) { asGetActiveContext()->SetException(reason); }

MenuItem* add(const ScriptMenu& menu, MenuItem item) {
  if (++builder().items > kMostItems) {
    raise("the menus have more than 10000 entries");
    return nullptr;
  }
  return &menu.item->children.emplace_back(std::move(item));
}

const char* whatIsWrongWith(const ScriptText* text) {
  if (text == nullptr) return "the title of a menu has no value yet";
  const std::string& title = text->get();
  if (title.empty()) return "a menu needs a title";
  if (title.size() > kLongestTitle) return "the title of a menu is longer than 200 bytes";
  if (!isUtf8(title) || visible(title) != title) return "the title of a menu holds what cannot be shown";
  return nullptr;
}

}  // namespace

ScriptMenu* addMenu(const ScriptText* title) { return addSubmenu(&builder().menus.front(), title); }

ScriptMenu* addSubmenu(ScriptMenu* menu, const ScriptText* title) {
  const char* wrong =
      menu->depth >= kDeepestMenu ? "the menus are nested more than 16 deep" : whatIsWrongWith(title);
  if (wrong != nullptr) {
    raise(wrong);
    return nullptr;
  }
  MenuItem* item = add(*menu, {MenuItem::Kind::Menu, title->get(), 0, {}});
  return item != nullptr ? &builder().menus.emplace_back(ScriptMenu{item, menu->depth + 1}) : nullptr;
}

void addCommand(ScriptMenu* menu, int32_t id) { add(*menu, {MenuItem::Kind::Command, {}, id, {}}); }

void addSeparator(ScriptMenu* menu) { add(*menu, {MenuItem::Kind::Separator, {}, 0, {}}); }

}  // namespace host
