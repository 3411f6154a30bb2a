#ifndef HVQ_H
#define HVQ_H

/*
 * The inference library's plain C interface: 60 functions, as the stand-in hvq.dll exports them. Nobody links against
 * it; programs load the library and look the names up. docs/stand-in.md tells what the stand-in offers.
 *
 * Handles  An engine handle comes from one of the two creators and is the first argument of everything else. A null
 *          handle never crashes: such a call does nothing and answers 0 or null. A handle is gone after hvqDestory.
 * Text     Arguments are zero-terminated and in UTF-8 unless said otherwise. The library never allocates for the
 *          caller: a text is fetched by asking for its length, then with a buffer. Lengths count chars without a
 *          terminator, and exactly that many chars are written: no terminator either.
 * Errors   No result tells of a failure. A call that fails leaves a pending text with its engine; the first one stays
 *          until hvqResetExceptionString. hvqHasException tells of it. With a null handle these four functions speak
 *          of the latest engine creation on the calling thread. Nothing is ever thrown through this interface. Results
 *          of a failed call are 0 or null, and what its out pointers point to is unchanged unless said otherwise.
 * Threads  Any; calls on one engine run one at a time, each waiting for the one before it. Engines don't wait for each
 *          other. Only hvqDestory may not meet another call on the same engine.
 * Indices  From 0, below what the matching ...Number function answers.
 */

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef void* HvqEngine;

/* Severity: 0 error, 1 warning, 2 information, 3 detail. text is valid during the call only. */
typedef void (*HvqLogCallback)(void* context, int32_t severity, const char* text);

/* ---- Engines ---- */

/* A new engine, null on failure: when ONNX Runtime's library isn't beside this one, or is none. */
HvqEngine hvqCreate(void);

/* The same. Both pointers have to be null: this library has no other loader to hand models to. */
HvqEngine hvqCreateWithLibraryLoader(void* loader_first, void* loader_second);

/* Ends an engine with its networks. A null engine is fine. (The name is spelled like this.) */
void hvqDestory(HvqEngine engine);

/* ---- Models: an id of one's own for a network file ---- */

/* The file has to exist and stay; it is read when a network is made of it. The id must be new. */
void hvqRegisterModelAsInnerIDwithString(HvqEngine engine, const char* model_id, const char* model_lib_path);
void hvqRegisterModelAsInnerIDwithWString(HvqEngine engine, const wchar_t* model_id, const wchar_t* model_lib_path);

/* Forgets an id. Networks that were made of it live on. */
void hvqUnregisterInnerID(HvqEngine engine, const char* model_id);

/* ---- What there is: engines ("OpenVINO"), their devices ("AUTO", "CPU"), registered models by age ---- */

int32_t hvqGetSupportEngineNumber(HvqEngine engine);
int32_t hvqGetSupportEngineLength(HvqEngine engine, int32_t index);
void hvqGetSupportEngine(HvqEngine engine, int32_t index, char* buffer);

int32_t hvqGetSupportDeviceNumber(HvqEngine engine, const char* engine_name);
int32_t hvqGetSupportDeviceLength(HvqEngine engine, const char* engine_name, int32_t index);
void hvqGetSupportDevice(HvqEngine engine, const char* engine_name, int32_t index, char* buffer);

int32_t hvqGetSupportBuiltinModelNumber(HvqEngine engine, const char* engine_name);
int32_t hvqGetSupportBuiltinModelLength(HvqEngine engine, const char* engine_name, int32_t index);
void hvqGetSupportBuiltinModelID(HvqEngine engine, const char* engine_name, int32_t index, char* buffer);

/* ---- Versions. Either pointer may be null. ---- */

/* The version of the interface: "2026.03.18-1bca487a(x64)", which programs compare with what they were built for. */
void hvqSelfVersion(HvqEngine engine, uint64_t* length, char* buffer);

/* Who this really is: "velmoml stand-in 0.1, ONNX Runtime 1.30.0". */
void hvqVersion(HvqEngine engine, uint64_t* length, char* buffer);

/* ---- Networks ---- */

/* Makes a network and makes it the current one. network_id must be new and not empty; properties that were set for it
   before take effect now. On failure the current network stays. A file is read whole; a buffer is not kept. */
void hvqCreateNetByBuiltin(HvqEngine engine, const char* engine_name, const char* network_id, const char* device_name,
                           const char* model_id);

/* weights_path, weights: for formats of two parts, and so null or empty here: an ONNX network is one file. */
void hvqCreateNetByFiles(HvqEngine engine, const char* engine_name, const char* network_id, const char* device_name,
                         const char* network_path, const char* weights_path);
void hvqCreateNetByFilesWithWstring(HvqEngine engine, const wchar_t* engine_name, const wchar_t* network_id,
                                    const wchar_t* device_name, const wchar_t* network_path,
                                    const wchar_t* weights_path);
void hvqCreateNetByBuffers(HvqEngine engine, const char* engine_name, const char* network_id, const char* device_name,
                           const void* network, uint64_t network_size, const void* weights, uint64_t weights_size);

/* Ends a network and forgets its properties. If it was the current one, there is none then. */
void hvqRemoveNetwork(HvqEngine engine, const char* network_id);

/* Makes another network the current one: the one that all layer functions and hvqInfer work on. */
void hvqSwitchNetwork(HvqEngine engine, const char* network_id);

/* The networks there are, by age. */
int32_t hvqGetCreatedNetworkIdentifiersNumber(HvqEngine engine);
int32_t hvqGetCreatedNetworkIdentifierLength(HvqEngine engine, int32_t index);
void hvqGetCreatedNetworkIdentifier(HvqEngine engine, int32_t index, char* buffer);

/* Engine and device of a network, and of the current one. The device is the one in use: "CPU" also behind "AUTO". */
int32_t hvqGetNetworkEngineLength(HvqEngine engine, const char* network_id);
void hvqGetNetworkEngine(HvqEngine engine, const char* network_id, char* buffer);
int32_t hvqGetNetworkDeviceLength(HvqEngine engine, const char* network_id);
void hvqGetNetworkDevice(HvqEngine engine, const char* network_id, char* buffer);
int32_t hvqGetCurrentEngineLength(HvqEngine engine);
void hvqGetCurrentEngine(HvqEngine engine, char* buffer);
int32_t hvqGetCurrentIdentifierLength(HvqEngine engine);
void hvqGetCurrentIdentifier(HvqEngine engine, char* buffer);
int32_t hvqGetCurrentNetworkDeviceLength(HvqEngine engine);
void hvqGetCurrentNetworkDevice(HvqEngine engine, char* buffer);

/* ---- Layers of the current network ---- */

/* Lends the library the data of an input layer, whose dims have to be given unchanged. Nothing is copied: the data is
   read by the next hvqInfer and has to stay until that has returned. Each inference needs the data of all inputs anew.
   Elements are what hvqGetLayerPrecision says; 32-bit floats in the networks of the product. */
void hvqSetLayerData(HvqEngine engine, const char* layer_name, const void* data, const uint64_t* dims,
                     uint64_t dims_count);

/* The data of an output layer: null before the first inference, after a failed one, and for a name that the network
   lacks; none of these is an error. The address stays the same until the network goes, the data until the next
   hvqInfer. For an input layer what was lent, until the inference. */
const void* hvqGetLayerData(HvqEngine engine, const char* layer_name);

int32_t hvqGetInputLayerNumber(HvqEngine engine);
int32_t hvqGetInputLayerLength(HvqEngine engine, int32_t index);
void hvqGetInputLayer(HvqEngine engine, int32_t index, char* buffer);
int32_t hvqGetOutputLayerNumber(HvqEngine engine);
int32_t hvqGetOutputLayerLength(HvqEngine engine, int32_t index);
void hvqGetOutputLayer(HvqEngine engine, int32_t index, char* buffer);

/* With null dims: sets *count to the number of dimensions. Else *count says how much room dims has, which must suffice;
   the dimensions are written and *count set to their number. */
void hvqGetLayerDims(HvqEngine engine, const char* layer_name, uint64_t* dims, uint64_t* count);

/* Runs the current network once, on the calling thread. */
void hvqInfer(HvqEngine engine);

/* ---- Errors ---- */

/* 0 or 1, in 8 bits. */
uint8_t hvqHasException(HvqEngine engine);
void hvqGetExceptionStringLength(HvqEngine engine, uint64_t* length);
void hvqGetExceptionString(HvqEngine engine, char* buffer);
void hvqResetExceptionString(HvqEngine engine);

/* ---- Properties ---- */

/* What can be set for a network of an engine. Every pointer that isn't null is served: count gets the number of
   properties (index is not looked at for this alone), the lengths and buffers belong to the property at index. */
void hvqGetEngineMutableProperties(HvqEngine engine, int32_t* count, int32_t index, int32_t* name_length, char* name,
                                   int32_t* type_length, char* type, const char* engine_name);

/* Sets a property for a network that doesn't exist yet. value: a zero-terminated text, wide when type_name is
   "std::filesystem::path", narrow when it is "std::string". type_name has to be the property's own. */
void hvqSetEnginePropertyForNetwork(HvqEngine engine, const char* engine_name, const char* network_id,
                                    const char* property_name, const char* type_name, const void* value);

/* What a device tells of itself: names and types like above. Types are "std::string" (type id 1),
   "std::unordered_map<std::string, float>" (2) and "uint32_t" (3). */
int32_t hvqGetDeviceSupportPropertiesNumber(HvqEngine engine, const char* engine_name, const char* device_name);
void hvqGetDeviceSupportPropertiesByIndex(HvqEngine engine, const char* engine_name, const char* device_name,
                                          int32_t index, int32_t* name_length, char* name, int32_t* type_length,
                                          char* type);
int32_t hvqGetDevicePropertyTypeID(HvqEngine engine, const char* engine_name, const char* device_name,
                                   const char* property_name);

/* The value of a property of type 1. */
void hvqGetDevicePropertyTypeString(HvqEngine engine, const char* engine_name, const char* device_name,
                                    const char* property_name, uint64_t* length, char* buffer);

/* The value of a property of type 2: count gets the number of entries; the others belong to the entry at index. */
void hvqGetDevicePropertyTypeUnorderedMap_String_Float(HvqEngine engine, const char* engine_name,
                                                       const char* device_name, const char* property_name,
                                                       int32_t* count, int32_t index, int32_t* key_length, char* key,
                                                       float* value);

/* The bytes of a property of type 3. */
void hvqGetDevicePropertyTypeGeneral(HvqEngine engine, const char* engine_name, const char* device_name,
                                     const char* property_name, uint64_t* size, void* value);

/* ---- Optional ---- */

/* The type of a layer's elements: "FP32" and the like. */
void hvqGetLayerPrecision(HvqEngine engine, const char* layer_name, uint64_t* length, char* buffer);

/* Where remarks of this engine go, those of ONNX Runtime included; a null callback ends that. It is called on threads
   that are inside this library, so it must not call back into it. */
void hvqSetLogCallback(HvqEngine engine, HvqLogCallback callback, void* context);

#ifdef __cplusplus
}
#endif

#endif
