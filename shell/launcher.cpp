// The `skeda` launcher. Its main() is the one that libSkeda carries (see
// shell/main.cpp in the library); linking against libSkeda is all it takes.
