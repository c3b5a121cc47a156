// A module named like one of the toolkit's: the library takes its folder as
// the toolkit's module directory.
extern "C" __declspec(dllexport) int ZorvaMarker() { return 1; }
