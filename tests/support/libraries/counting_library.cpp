// A library that knows whether it was loaded afresh.

extern "C" int counting_library_next() {
    static int calls = 0;
    return ++calls;
}
