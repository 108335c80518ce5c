"""Writes down what a screen reader is told of without asking: notifications that come into sight, and descriptions and names
that change. A line each: what has happened, the role, the name and the description, between tabs."""

import sys

import pyatspi


def tell(event):
    source = event.source
    if source is None or (event.type.startswith("object:state-changed") and not event.detail1):
        return
    words = [str(event.type), source.getRoleName(), source.name, source.description]
    print("\t".join(word.replace("\n", " ").replace("\t", " ") for word in words), flush=True)


pyatspi.Registry.registerEventListener(
    tell, "object:state-changed:showing", "object:property-change:accessible-description",
    "object:property-change:accessible-name", "object:state-changed:sensitive", "object:property-change:accessible-value")
print("listening", flush=True)
try:
    pyatspi.Registry.start()
except KeyboardInterrupt:
    sys.exit(0)
