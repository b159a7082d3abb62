/*
 * What a display driver does to a virtual screen, in the order of the user's pressing Return: a screen of
 * 3840x2160, one with a cursor that the display draws, ten changes of the mode a second, and one that stays
 * (Linux, Documentation/gpu/drm-kms.rst).
 */
#include <drm/drm.h>
#include <drm/drm_mode.h>
#include <fcntl.h>
#include <poll.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

enum
{
    BLUE = 0x0000aa,
    GREEN = 0x00aa00,
    MAGENTA = 0xaa00aa,
    WHITE = 0xffffff
};
enum
{
    CURSOR_EDGE = 64
}; /* pixels, the only size that virtio's has */

static int display;
static uint32_t connector, controller;

static void request(unsigned long number, void *argument, const char *name)
{
    if (ioctl(display, number, argument) != 0) {
        perror(name);
        exit(1);
    }
}

/* A buffer of 32 bits a pixel, in one colour. The kernel frees it with the last of its users. */
static uint32_t *make_buffer(uint32_t width, uint32_t height, uint32_t colour,
                             struct drm_mode_create_dumb *buffer)
{
    *buffer = (struct drm_mode_create_dumb){.width = width, .height = height, .bpp = 32};
    request(DRM_IOCTL_MODE_CREATE_DUMB, buffer, "create a buffer");
    struct drm_mode_map_dumb place = {.handle = buffer->handle};
    request(DRM_IOCTL_MODE_MAP_DUMB, &place, "map a buffer");
    uint32_t *pixels = mmap(NULL, buffer->size, PROT_READ | PROT_WRITE, MAP_SHARED, display, place.offset);
    if (pixels == MAP_FAILED) {
        perror("map a buffer");
        exit(1);
    }
    for (size_t index = 0; index < (size_t)width * height; ++index)
        pixels[index] = colour;
    return pixels;
}

struct screen
{
    uint16_t width, height;
    uint32_t framebuffer;
};

/* One of this size in a colour, with a white square in its upper left corner that is as wide as a quarter of
 * its height. */
static struct screen make_screen(uint16_t width, uint16_t height, uint32_t colour)
{
    struct drm_mode_create_dumb buffer;
    uint32_t *pixels = make_buffer(width, height, colour, &buffer);
    for (int y = 0; y < height / 4; ++y)
        for (int x = 0; x < height / 4; ++x)
            pixels[y * (buffer.pitch / 4) + x] = WHITE;
    struct drm_mode_fb_cmd command = {.width = width,
                                      .height = height,
                                      .pitch = buffer.pitch,
                                      .bpp = 32,
                                      .depth = 24,
                                      .handle = buffer.handle};
    request(DRM_IOCTL_MODE_ADDFB, &command, "add a framebuffer");
    return (struct screen){width, height, command.fb_id};
}

/* With timings that only a display of glass would mind. */
static void show(const struct screen *screen)
{
    const uint16_t across = screen->width + 80, down = screen->height + 30;
    struct drm_mode_crtc mode = {
        .set_connectors_ptr = (uintptr_t)&connector,
        .count_connectors = 1,
        .crtc_id = controller,
        .fb_id = screen->framebuffer,
        .mode_valid = 1,
        .mode = {.clock = 60u * across * down / 1000,
                 .hdisplay = screen->width,
                 .hsync_start = screen->width + 20,
                 .hsync_end = screen->width + 40,
                 .htotal = across,
                 .vdisplay = screen->height,
                 .vsync_start = screen->height + 5,
                 .vsync_end = screen->height + 10,
                 .vtotal = down,
                 .vrefresh = 60},
    };
    request(DRM_IOCTL_MODE_SETCRTC, &mode, "set a mode");
}

static void show_cursor(uint32_t colour)
{
    struct drm_mode_create_dumb buffer;
    make_buffer(CURSOR_EDGE, CURSOR_EDGE, 0xff000000 | colour, &buffer);
    struct drm_mode_cursor cursor = {.flags = DRM_MODE_CURSOR_BO | DRM_MODE_CURSOR_MOVE,
                                     .crtc_id = controller,
                                     .x = 100,
                                     .y = 100,
                                     .width = CURSOR_EDGE,
                                     .height = CURSOR_EDGE,
                                     .handle = buffer.handle};
    request(DRM_IOCTL_MODE_CURSOR, &cursor, "show a cursor");
}

static int wait_for_return(int milliseconds)
{
    struct pollfd input = {.fd = STDIN_FILENO, .events = POLLIN};
    char line[64];
    return poll(&input, 1, milliseconds) == 1 && read(STDIN_FILENO, line, sizeof line) > 0;
}

int main(void)
{
    display = open("/dev/dri/card0", O_RDWR);
    struct drm_mode_card_res resources = {.count_connectors = 1, .count_crtcs = 1};
    resources.connector_id_ptr = (uintptr_t)&connector;
    resources.crtc_id_ptr = (uintptr_t)&controller;
    request(DRM_IOCTL_MODE_GETRESOURCES, &resources, "find the display");

    const struct screen usual = make_screen(1280, 800, BLUE);
    const struct screen large = make_screen(3840, 2160, GREEN);
    const struct screen small = make_screen(640, 480, MAGENTA);
    show(&usual);
    wait_for_return(-1);
    show(&large);
    wait_for_return(-1);
    show(&usual);
    show_cursor(GREEN);
    wait_for_return(-1);
    for (int changes = 0; !wait_for_return(100); ++changes) {
        show(changes % 2 ? &usual : &small);
        fprintf(stderr, "change %d\n", changes);
    }
    fprintf(stderr, "no more changes\n");
    show(&small);
    for (;;)
        pause();
}
