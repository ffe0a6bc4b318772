/* What minizip-ng's sources refer to in its code for the operating system, and archives that are only written to do not
   need: random numbers for encryption, and the end of a folder's name. */
#include <mz.h>
#include <mz_os.h>

int32_t mz_os_rand(uint8_t *buffer, int32_t size) {
    (void)buffer;
    (void)size;
    return 0;
}

/* Since version 4. */
int32_t mz_os_is_dir_separator(const char character);

int32_t mz_os_is_dir_separator(const char character) {
    return character == '\\' || character == '/';
}
