// orrery-sim under node reads the shell's environment (ORRERY_ASSET_PARENT, for one) as the
// native program does; emscripten otherwise gives a program a fixed one of its own.
Module.preRun = (Module.preRun || []).concat([() => Object.assign(ENV, process.env)]);
