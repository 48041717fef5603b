// The byte-stream interface of every cadserv stream, its result codes and
// open modes, and the file stream.
#ifndef CADSERV_STREAM_H
#define CADSERV_STREAM_H

#include <stdint.h>

#include "cadserv/com.h"
#include "cadserv/export.h"
#include "cadserv/guids.h"

// Result codes of stream operations and of the SERV_Open... functions; 0 is success.
typedef uint32_t SERVRESULT;
#define SERV_OK 0u
#define SERV_E_NOTFOUND 0x80000000u
#define SERV_E_NOTSUPPORTED 0x80000002u
#define SERV_E_NOINFO 0x80000200u
#define SERV_E_OPENREAD 0x80000201u
#define SERV_E_OPENWRITE 0x80000202u
#define SERV_E_SHARING 0x80000204u
#define SERV_E_READ 0x80000205u
#define SERV_E_WRITE 0x80000206u
#define SERV_E_SEEK 0x80000207u
#define SERV_E_NODATA 0x80000208u
#define SERV_E_OUTOFMEMORY 0x80010001u
#define SERV_E_NEGATIVECOUNT 0x80010012u
#define SERV_E_INVALIDARG 0x80020000u

// Open modes: the low 4 bits select the access, the high bits storage elements.
#define SERV_MODE_READ 1u
#define SERV_MODE_WRITE 2u
#define SERV_MODE_READWRITE 3u
#define SERV_MODE_APPEND 4u
#define SERV_MODE_ISSTORAGE 0x10000u
#define SERV_MODE_ELEMENTSTREAM 0x40000u
#define SERV_MODE_SUBSTORAGE 0x80000u

// Seek origins.
#define SERV_SEEK_SET 0u
#define SERV_SEEK_CUR 1u
#define SERV_SEEK_END 2u

// Longest name a stream keeps, without its terminator.
#define SERV_MAX_STREAM_NAME 261

typedef struct ServStreamInfo {
  uint32_t SizeLow;      // low 32 bits of the content's size
  uint32_t SizeHigh;     // high 32 bits (files of 4 GiB and more)
  uint32_t DosDateTime;  // DOS date << 16 | DOS time of the last change; 0 if none
  uint32_t Reserved;     // 0 from memory and resource streams; not written by file streams
} ServStreamInfo;

#ifdef __cplusplus
// Slots 0-8 in this order; the virtual destructor follows. GCC's C++ ABI (also
// under mingw) gives it two table slots (9: complete, 10: deleting), so the
// Open of a derived interface is slot 11 there and slot 10 under MSVC.
struct IServStream {
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(const GUID* iid, void** object) = 0;
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE Release() = 0;
  virtual SERVRESULT STDMETHODCALLTYPE Read(void* buffer, uint32_t count, uint32_t* countRead) = 0;
  virtual SERVRESULT STDMETHODCALLTYPE Write(const void* buffer, uint32_t count,
                                             uint32_t* countWritten) = 0;
  virtual SERVRESULT STDMETHODCALLTYPE Seek(int32_t offset, uint32_t origin,
                                            uint32_t* newPosition) = 0;
  virtual const WCHAR* STDMETHODCALLTYPE GetName() = 0;
  virtual SERVRESULT STDMETHODCALLTYPE GetInfo(ServStreamInfo* info) = 0;
  virtual const uint8_t* STDMETHODCALLTYPE GetBuffer() = 0;
  virtual ~IServStream() {}
};

struct IServFileStream : IServStream {
  // Opens the file (or the element `name` of `parent`'s storage) in `mode`.
  virtual SERVRESULT STDMETHODCALLTYPE Open(const WCHAR* name, uint32_t mode,
                                            IServStream* parent) = 0;
};

// Opens a file stream (see IServFileStream::Open). On success *stream holds
// the stream with one reference; on failure *stream is null (out of memory:
// left untouched) and the result says why.
CADSERV_CAPI SERVRESULT SERV_OpenFile(const WCHAR* name, uint32_t mode, IServStream** stream,
                                      IServStream* parent);
#endif  // __cplusplus

#endif  // CADSERV_STREAM_H
