/* Functions of minizip-ng's operating-system layer that its sources refer to but that are not needed to write archives:
   random numbers for encryption, and the test for a folder separator. */
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
