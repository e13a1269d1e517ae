/* A program that links nothing but the C library loads libselvane when it wants it, and shows it to nobody. */

#include <selvane.h>

#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#define FIND(function)                                                                                                 \
    void* const address_##function = dlsym(library, #function);                                                        \
    memcpy(&call_##function, &address_##function, sizeof call_##function)

static selvane* (*call_selvane_new)(void);
static void (*call_selvane_free)(selvane*);
static int (*call_selvane_version)(void);
static int (*call_selvane_set_picture)(selvane*, const selvane_picture*);
static int (*call_selvane_render)(selvane*, const selvane_target*);

static int Render(void)
{
    static unsigned char photo[48][64][3], picture[48][64][3];
    selvane_picture from;
    selvane_target to;
    memset(&from, 0, sizeof from);
    memset(&to, 0, sizeof to);
    for (int i = 0; i < 48 * 64 * 3; i++)
        (&photo[0][0][0])[i] = (unsigned char)(i % 251);
    from.struct_size = sizeof from;
    from.width = to.width = 64;
    from.height = to.height = 48;
    from.format = to.format = SELVANE_U8;
    from.pixels = photo;
    to.struct_size = sizeof to;
    to.pixels = picture;
    selvane* const handle = call_selvane_new();
    int status = call_selvane_set_picture(handle, &from);
    if (status == SELVANE_OK) status = call_selvane_render(handle, &to);
    call_selvane_free(handle);
    return status;
}

int main(int count, char** words)
{
    void* const library = count == 2 ? dlopen(words[1], RTLD_NOW | RTLD_LOCAL) : NULL;
    if (library == NULL) {
        fprintf(stderr, "%s\n", count == 2 ? dlerror() : "Alone LIBRARY");
        return 1;
    }
    FIND(selvane_new);
    FIND(selvane_free);
    FIND(selvane_version);
    FIND(selvane_set_picture);
    FIND(selvane_render);
    if (call_selvane_version() != SELVANE_VERSION) return 2;
    if (dlsym(RTLD_DEFAULT, "selvane_new") != NULL) return 3;
    const int status = Render();
    if (status != SELVANE_OK) return 10 + status;
    return dlclose(library) == 0 ? 0 : 4;
}
