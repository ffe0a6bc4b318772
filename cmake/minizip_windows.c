/* The Windows back end of minizip-ng's file functions, for sources of it that come without one. Paths are UTF-8. What
   only its reader calls is refused: this project writes archives. */

#include "mz.h"
#include "mz_os.h"
#include "mz_strm.h"
#include "mz_strm_os.h"

#include <windows.h>

#include <stdlib.h>
#include <string.h>

/* Seconds between 1601, where Windows counts from, and 1970. */
#define EPOCH_DIFFERENCE 11644473600LL

wchar_t *mz_os_unicode_string_create(const char *string, int32_t encoding) {
    const int length = MultiByteToWideChar((UINT)encoding, 0, string, -1, NULL, 0);
    wchar_t *wide = length > 0 ? calloc((size_t)length, sizeof(wchar_t)) : NULL;
    if (wide)
        MultiByteToWideChar((UINT)encoding, 0, string, -1, wide, length);
    return wide;
}

void mz_os_unicode_string_delete(wchar_t **string) {
    free(*string);
    *string = NULL;
}

static int get_attributes(const char *path, WIN32_FILE_ATTRIBUTE_DATA *data) {
    wchar_t *wide = mz_os_unicode_string_create(path, MZ_ENCODING_UTF8);
    const int found = wide && GetFileAttributesExW(wide, GetFileExInfoStandard, data);
    free(wide);
    return found;
}

int32_t mz_os_file_exists(const char *path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    return get_attributes(path, &data) ? MZ_OK : MZ_EXIST_ERROR;
}

int64_t mz_os_get_file_size(const char *path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    return get_attributes(path, &data) ? ((int64_t)data.nFileSizeHigh << 32) | data.nFileSizeLow : 0;
}

static time_t unix_time(FILETIME time) {
    const uint64_t ticks = ((uint64_t)time.dwHighDateTime << 32) | time.dwLowDateTime;
    return (time_t)((int64_t)(ticks / 10000000) - EPOCH_DIFFERENCE);
}

int32_t mz_os_get_file_date(const char *path, time_t *modified, time_t *accessed, time_t *creation) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!get_attributes(path, &data))
        return MZ_INTERNAL_ERROR;
    if (modified)
        *modified = unix_time(data.ftLastWriteTime);
    if (accessed)
        *accessed = unix_time(data.ftLastAccessTime);
    if (creation)
        *creation = unix_time(data.ftCreationTime);
    return MZ_OK;
}

int32_t mz_os_get_file_attribs(const char *path, uint32_t *attributes) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!get_attributes(path, &data))
        return MZ_INTERNAL_ERROR;
    *attributes = data.dwFileAttributes;
    return MZ_OK;
}

int32_t mz_os_is_dir(const char *path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    return get_attributes(path, &data) && (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) ? MZ_OK : MZ_EXIST_ERROR;
}

int32_t mz_os_make_dir(const char *path) {
    wchar_t *wide = mz_os_unicode_string_create(path, MZ_ENCODING_UTF8);
    const int made = wide && (CreateDirectoryW(wide, NULL) || GetLastError() == ERROR_ALREADY_EXISTS);
    free(wide);
    return made ? MZ_OK : MZ_INTERNAL_ERROR;
}

int32_t mz_os_unlink(const char *path) {
    wchar_t *wide = mz_os_unicode_string_create(path, MZ_ENCODING_UTF8);
    const int removed = wide && DeleteFileW(wide);
    free(wide);
    return removed ? MZ_OK : MZ_INTERNAL_ERROR;
}

uint64_t mz_os_ms_time(void) {
    return GetTickCount64();
}

int32_t mz_os_rand(uint8_t *buffer, int32_t size) {
    (void)buffer;
    (void)size;
    return 0;
}

uint8_t *mz_os_utf8_string_create(const char *string, int32_t encoding) {
    (void)string;
    (void)encoding;
    return NULL;
}

void mz_os_utf8_string_delete(uint8_t **string) {
    (void)string;
}

int32_t mz_os_is_symlink(const char *path) {
    (void)path;
    return MZ_SUPPORT_ERROR;
}

int32_t mz_os_make_symlink(const char *path, const char *target) {
    (void)path;
    (void)target;
    return MZ_SUPPORT_ERROR;
}

int32_t mz_os_read_symlink(const char *path, char *target, int32_t max_target) {
    (void)path;
    (void)target;
    (void)max_target;
    return MZ_SUPPORT_ERROR;
}

int32_t mz_os_set_file_attribs(const char *path, uint32_t attributes) {
    (void)path;
    (void)attributes;
    return MZ_SUPPORT_ERROR;
}

int32_t mz_os_set_file_date(const char *path, time_t modified, time_t accessed, time_t creation) {
    (void)path;
    (void)modified;
    (void)accessed;
    (void)creation;
    return MZ_SUPPORT_ERROR;
}

DIR *mz_os_open_dir(const char *path) {
    (void)path;
    return NULL;
}

struct dirent *mz_os_read_dir(DIR *folder) {
    (void)folder;
    return NULL;
}

int32_t mz_os_close_dir(DIR *folder) {
    (void)folder;
    return MZ_SUPPORT_ERROR;
}

typedef struct {
    mz_stream stream;
    HANDLE handle;
    int32_t error;
} file_stream;

int32_t mz_stream_os_open(void *stream, const char *path, int32_t mode) {
    file_stream *file = stream;
    const int writes = (mode & MZ_OPEN_MODE_WRITE) != 0;
    const DWORD access = writes ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ;
    /* A log that is being written can be read. */
    const DWORD sharing = writes ? FILE_SHARE_READ : FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const DWORD creation = (mode & MZ_OPEN_MODE_CREATE) ? CREATE_ALWAYS : OPEN_EXISTING;
    wchar_t *wide = mz_os_unicode_string_create(path, MZ_ENCODING_UTF8);
    if (!wide)
        return MZ_PARAM_ERROR;
    file->handle = CreateFileW(wide, access, sharing, NULL, creation, FILE_ATTRIBUTE_NORMAL, NULL);
    file->error = (int32_t)GetLastError();
    free(wide);
    if (file->handle == INVALID_HANDLE_VALUE)
        return MZ_OPEN_ERROR;
    return (mode & MZ_OPEN_MODE_APPEND) ? mz_stream_os_seek(stream, 0, MZ_SEEK_END) : MZ_OK;
}

int32_t mz_stream_os_is_open(void *stream) {
    return ((file_stream *)stream)->handle != INVALID_HANDLE_VALUE ? MZ_OK : MZ_OPEN_ERROR;
}

int32_t mz_stream_os_read(void *stream, void *buffer, int32_t size) {
    file_stream *file = stream;
    DWORD count = 0;
    if (!ReadFile(file->handle, buffer, (DWORD)size, &count, NULL)) {
        file->error = (int32_t)GetLastError();
        return file->error == ERROR_HANDLE_EOF ? 0 : MZ_READ_ERROR;
    }
    return (int32_t)count;
}

int32_t mz_stream_os_write(void *stream, const void *buffer, int32_t size) {
    file_stream *file = stream;
    DWORD count = 0;
    if (!WriteFile(file->handle, buffer, (DWORD)size, &count, NULL)) {
        file->error = (int32_t)GetLastError();
        return MZ_WRITE_ERROR;
    }
    return (int32_t)count;
}

int64_t mz_stream_os_tell(void *stream) {
    file_stream *file = stream;
    LARGE_INTEGER none = {.QuadPart = 0};
    LARGE_INTEGER position;
    if (!SetFilePointerEx(file->handle, none, &position, FILE_CURRENT)) {
        file->error = (int32_t)GetLastError();
        return MZ_TELL_ERROR;
    }
    return position.QuadPart;
}

int32_t mz_stream_os_seek(void *stream, int64_t offset, int32_t origin) {
    file_stream *file = stream;
    LARGE_INTEGER distance = {.QuadPart = offset};
    const DWORD method = origin == MZ_SEEK_SET ? FILE_BEGIN : origin == MZ_SEEK_CUR ? FILE_CURRENT : FILE_END;
    if (!SetFilePointerEx(file->handle, distance, NULL, method)) {
        file->error = (int32_t)GetLastError();
        return MZ_SEEK_ERROR;
    }
    return MZ_OK;
}

int32_t mz_stream_os_close(void *stream) {
    file_stream *file = stream;
    if (file->handle != INVALID_HANDLE_VALUE)
        CloseHandle(file->handle);
    file->handle = INVALID_HANDLE_VALUE;
    return MZ_OK;
}

int32_t mz_stream_os_error(void *stream) {
    return ((file_stream *)stream)->error;
}

static mz_stream_vtbl operations = {
    mz_stream_os_open,  mz_stream_os_is_open, mz_stream_os_read,   mz_stream_os_write,  mz_stream_os_tell, mz_stream_os_seek,
    mz_stream_os_close, mz_stream_os_error,   mz_stream_os_create, mz_stream_os_delete, NULL,              NULL};

void *mz_stream_os_create(void **stream) {
    file_stream *file = calloc(1, sizeof(file_stream));
    if (file) {
        file->stream.vtbl = &operations;
        file->handle = INVALID_HANDLE_VALUE;
    }
    if (stream)
        *stream = file;
    return file;
}

void mz_stream_os_delete(void **stream) {
    if (!stream || !*stream)
        return;
    mz_stream_os_close(*stream);
    free(*stream);
    *stream = NULL;
}
