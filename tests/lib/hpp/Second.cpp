// A second source file with the header, which defines nothing twice, and every template of it.

#include "selvane.hpp"

int RenderInEveryForm(Selvane::cToneMapper& pMapper);

int RenderInEveryForm(Selvane::cToneMapper& pMapper)
{
    const auto bytes = pMapper.Render<uint8_t>();
    const auto words = pMapper.Render<uint16_t>(4, SELVANE_DISPLAY_P3);
    const auto floats = pMapper.Render<float>(3, SELVANE_REC2020);
    const auto preview = pMapper.Preview<uint8_t>(16);
    return static_cast<int>(bytes.fPixels.size() + words.fPixels.size() + floats.fPixels.size() +
                            preview.fPixels.size());
}
