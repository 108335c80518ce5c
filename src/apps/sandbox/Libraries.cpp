#include "apps/sandbox/Libraries.h"

#include "apps/sandbox/HttpError.h"

#include <algorithm>
#include <array>

namespace driftwell::sandbox {

namespace {

constexpr std::string_view storeModule =
    R"js(// store: values that stay in the visitor's browser, with a callback on every change.

export function openStore(name) {
  const prefix = `store:${name}:`;
  const listeners = new Set();
  const tell = (key, value) => listeners.forEach((listener) => listener(key, value));

  window.addEventListener("storage", (event) => {
    if (event.storageArea === localStorage && event.key?.startsWith(prefix)) {
      tell(event.key.slice(prefix.length), event.newValue === null ? undefined : JSON.parse(event.newValue));
    }
  });

  return {
    get(key, fallback) {
      const text = localStorage.getItem(prefix + key);
      return text === null ? fallback : JSON.parse(text);
    },
    set(key, value) {
      localStorage.setItem(prefix + key, JSON.stringify(value));
      tell(key, value);
    },
    remove(key) {
      localStorage.removeItem(prefix + key);
      tell(key, undefined);
    },
    keys() {
      return Object.keys(localStorage).filter((key) => key.startsWith(prefix)).map((key) => key.slice(prefix.length));
    },
    onChange(listener) {
      listeners.add(listener);
      return () => listeners.delete(listener);
    },
  };
}
)js";

constexpr std::string_view storeSkill = R"md(# store

Keeps values in the visitor's browser. They stay after a reload, and other tabs of the site hear of changes.

```js
import { openStore } from "MODULE_URL";

const settings = openStore("settings");
settings.set("colour", "teal");
settings.get("colour", "grey");          // the second argument is used when nothing is stored
const stop = settings.onChange((key, value) => console.log(key, value));
```

Values are whatever JSON can hold. Use it for one visitor's own choices; nothing is shared between visitors.
)md";

constexpr std::string_view toastModule =
    R"js(// toast: short messages at the lower edge of the window, read out by screen readers.

let region;

function messageRegion() {
  if (!region) {
    region = document.createElement("div");
    region.setAttribute("role", "status");
    region.setAttribute("aria-live", "polite");
    region.style.cssText =
      "position:fixed;left:50%;bottom:24px;transform:translateX(-50%);display:grid;gap:8px;z-index:2147483647";
    document.body.append(region);
  }
  return region;
}

export function toast(text, { milliseconds = 4000 } = {}) {
  const message = document.createElement("div");
  message.textContent = text;
  message.style.cssText =
    "padding:10px 16px;border-radius:10px;background:#1d2330;color:#fff;font:15px/1.4 system-ui,sans-serif";
  messageRegion().append(message);
  const close = () => message.remove();
  const timer = setTimeout(close, milliseconds);
  return () => {
    clearTimeout(timer);
    close();
  };
}
)js";

constexpr std::string_view toastSkill = R"md(# toast

Shows a short message at the lower edge of the window for a few seconds.

```js
import { toast } from "MODULE_URL";

toast("Saved");
const close = toast("Working…", { milliseconds: 60000 });
close();
```

Use it to confirm what the visitor has just done. Do not use it for errors that need an answer: it goes away by itself.
)md";

constexpr std::string_view themeModule =
    R"js(// theme: light, dark, or as the system has it, remembered for the visitor.

const key = "theme";
const system = matchMedia("(prefers-color-scheme: dark)");

export function theme() {
  return localStorage.getItem(key) ?? "system";
}

export function setTheme(choice) {
  if (!["light", "dark", "system"].includes(choice)) {
    throw new RangeError(`no such theme: ${choice}`);
  }
  localStorage.setItem(key, choice);
  apply();
}

function apply() {
  const choice = theme();
  const dark = choice === "dark" || (choice === "system" && system.matches);
  document.documentElement.dataset.theme = dark ? "dark" : "light";
  document.documentElement.style.colorScheme = dark ? "dark" : "light";
}

system.addEventListener("change", apply);
apply();
)js";

constexpr std::string_view themeSkill = R"md(# theme

Sets `data-theme` on the root element to "light" or "dark": as the visitor chose, or as the system has it.

```js
import { theme, setTheme } from "MODULE_URL";

document.querySelector("#dark").addEventListener("click", () => setTheme("dark"));
theme();                                  // "light", "dark" or "system"
```

Write colours as custom properties under `:root` and `:root[data-theme="dark"]`.
)md";

constexpr std::array<Library, 3> builtIn = {{
    {"store", "1.0.0", "Values that stay in the visitor's browser", "Driftwell", storeModule, storeSkill},
    {"theme", "1.0.0", "Light and dark, remembered for the visitor", "Driftwell", themeModule, themeSkill},
    {"toast", "1.0.0", "Short messages at the edge of the window", "Driftwell", toastModule, toastSkill},
}};

std::string folder(const Library& library) {
    return "/libs/" + std::string(library.name) + '/';
}

} // namespace

std::span<const Library> libraries() {
    return builtIn;
}

const Library* libraryNamed(std::string_view name) {
    const auto found =
        std::find_if(builtIn.begin(), builtIn.end(), [name](const Library& library) { return library.name == name; });
    return found == builtIn.end() ? nullptr : &*found;
}

std::string modulePath(const Library& library) {
    return folder(library) + "module.js";
}

std::string skillPath(const Library& library) {
    return folder(library) + "SKILL.md";
}

void serveLibrary(Exchange& exchange) {
    if (exchange.method() != "GET" && exchange.method() != "HEAD") {
        exchange.response().set_header("Allow", "GET, HEAD");
        throw HttpError(405, "method_not_allowed", "A library can only be read");
    }
    for (const Library& library : builtIn) {
        const bool isModule = exchange.path() == modulePath(library);
        if (!isModule && exchange.path() != skillPath(library)) {
            continue;
        }
        httplib::Response& response = exchange.response();
        response.status = 200;
        response.set_header("Cache-Control", "no-cache");
        // Sites have addresses of their own and import the module from there.
        response.set_header("Access-Control-Allow-Origin", "*");
        response.set_content(std::string(isModule ? library.module : library.skill),
                             isModule ? "text/javascript; charset=utf-8" : "text/markdown; charset=utf-8");
        return;
    }
    throw HttpError(404, "not_found", "There is no such library");
}

} // namespace driftwell::sandbox
