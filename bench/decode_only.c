/* decode_only IMAGE: decodes a database image and ends; the least that a loader must do. */

#include "bench/raw_decode.h"

#include <stdio.h>

int main(int argc, char **argv)
{
    static unsigned char image[RAW_DECODE_IMAGE_SIZE];
    static unsigned char text[RAW_DECODE_TEXT_SIZE];

    FILE *file = argc == 2 ? fopen(argv[1], "rb") : NULL;
    if (file == NULL) {
        fputs("usage: decode_only IMAGE\n", stderr);
        return 2;
    }
    size_t size = fread(image, 1, sizeof(image), file);
    fclose(file);
    return size > 0 && raw_decode(image, text) > 0 ? 0 : 1;
}
