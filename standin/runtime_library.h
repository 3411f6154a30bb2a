#pragma once

#include <filesystem>
#include <string>

// The stand-in's own dealings with the operating system: where its library lies, and loading another one. Thread: any.
namespace standin {

using SymbolAddress = void (*)();  // of any function; to be cast to its own type

// The file name of ONNX Runtime's library on this system.
const char* RuntimeFileName();

// The folder of the library or program that this code is part of, absolute. Throws std::runtime_error when the system
// doesn't tell, std::bad_alloc.
std::filesystem::path OwnFolder();

// Loads the library `file`, an absolute path, and looks a function up in it. There is no way to unload it: ONNX Runtime
// keeps threads, thread-local data and registries that don't survive their code, so it stays for the process's life,
// also when this library goes and comes back. Loading it again finds it loaded.
// Throws std::runtime_error with the system's reason when it can't be loaded or lacks the name, std::bad_alloc.
SymbolAddress LoadForever(const std::filesystem::path& file, const char* symbol);

// Which processor this is and what it can do, as far as a network may be laid out for it. Equal on equal machines;
// empty when the system doesn't tell. Throws std::bad_alloc.
std::string ProcessorIdentity();

}  // namespace standin
