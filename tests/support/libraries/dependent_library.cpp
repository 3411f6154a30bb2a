// A library that needs the other one, from its own folder.

extern "C" int counting_library_next();

extern "C" int dependent_library_next() {
    return counting_library_next() + 100;
}
