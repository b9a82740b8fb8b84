// The one source of the precompiled header; it has nothing of its own.
