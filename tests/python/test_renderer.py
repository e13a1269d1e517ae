"""The Renderer: what it keeps, what it tells, and how it fails."""

import copy
import pickle
import struct
import warnings
import zlib

import numpy as np
import pytest
import selvane
from conftest import make_scene, with_alpha


def png_pixels(data):
    """The pixels of a PNG file with 8-bit RGB, one chunk of data and no filters."""
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    chunks, at = {}, 8
    while at < len(data):
        size, kind = struct.unpack(">I4s", data[at : at + 8])
        chunks[kind] = data[at + 8 : at + 8 + size]
        assert zlib.crc32(data[at + 4 : at + 8 + size]) == struct.unpack(">I", data[at + 8 + size : at + 12 + size])[0]
        at += 12 + size
    assert list(chunks) == [b"IHDR", b"IDAT", b"IEND"]
    columns, rows, *form = struct.unpack(">IIBBBBB", chunks[b"IHDR"])
    assert form == [8, 2, 0, 0, 0]
    lines = np.frombuffer(zlib.decompress(chunks[b"IDAT"]), np.uint8).reshape(rows, 1 + 3 * columns)
    assert (lines[:, 0] == 0).all()
    return lines[:, 1:].reshape(rows, columns, 3)


def test_a_change_computes_only_what_it_needs(scene):
    renderer = selvane.Renderer(scene)
    first = renderer.render()
    renderer.update(exposure=1)
    brighter = renderer.render()
    times = renderer.report["milliseconds"]
    assert times["read"] == times["split"] == times["map"] == 0 < times["write"]
    renderer.update(radius=3)
    renderer.render()
    assert renderer.report["milliseconds"]["split"] > 0
    renderer.settings = selvane.Settings()
    np.testing.assert_array_equal(renderer.render(), first)
    np.testing.assert_array_equal(brighter, selvane.tonemap(scene, exposure=1))


def test_another_picture_keeps_the_settings(scene):
    renderer = selvane.Renderer(with_alpha(scene))
    renderer.update(exposure=1)
    other = make_scene(50, 70)
    renderer.set_picture(other[..., ::-1], order="bgr")
    np.testing.assert_array_equal(renderer.render(order="rgb"), selvane.tonemap(other, exposure=1))
    assert repr(renderer) == "<selvane.Renderer of 70 x 50 pixels, 3 channels>"


def test_a_picture_that_is_refused_leaves_the_one_before(scene):
    renderer = selvane.Renderer(scene)
    with pytest.raises(ValueError):
        renderer.set_picture(np.zeros((9, 9, 4), np.float32), space=[0] * 8)
    np.testing.assert_array_equal(renderer.render(), selvane.tonemap(scene))


def test_the_array_may_go_once_it_was_read(scene):
    array = scene.copy()
    renderer = selvane.Renderer(array)
    array[:] = 0
    np.testing.assert_array_equal(renderer.render(), selvane.tonemap(scene))


def test_a_preview_is_small_and_looks_like_the_picture(scene):
    renderer = selvane.Renderer(scene)
    large = renderer.render()
    small = renderer.preview(60)
    assert small.shape == (45, 60, 3) and renderer.preview(1000).shape == scene.shape
    averages = large.reshape(45, 2, 60, 2, 3).mean(axis=(1, 3))
    assert abs(small - averages).mean() < 4  # of 255
    assert renderer.preview(60, dtype="float32", channels=4, output_space="rec2020", linear=True).shape == (45, 60, 4)
    with pytest.raises(ValueError):
        renderer.preview(0)


def test_the_suggestion_is_what_a_render_uses(scene):
    renderer = selvane.Renderer(scene)
    assert renderer.reasons == []
    suggested = renderer.suggest()
    assert not suggested.automatic and suggested == renderer.effective and len(renderer.reasons) > 0
    automatic = renderer.render()
    renderer.settings = suggested
    np.testing.assert_array_equal(renderer.render(), automatic)
    renderer.settings = selvane.Settings(exposure=0.5)
    assert renderer.effective.exposure == pytest.approx(suggested.exposure + 0.5)


def test_base_and_detail_are_the_two_parts_of_luminance(scene):
    renderer = selvane.Renderer(scene)
    base, detail, luminance = renderer.base, renderer.detail, renderer.luminance
    assert base.shape == scene.shape[:2] and base.dtype == np.float32
    np.testing.assert_array_equal(detail, luminance - base)
    weights = (0.2225, 0.7169, 0.0606)  # of the sRGB primaries under D50
    np.testing.assert_allclose(luminance, np.log10(scene @ weights), atol=2e-4)
    assert np.ptp(np.diff(base)) < np.ptp(np.diff(luminance))


def test_the_report_is_a_dict(scene):
    renderer = selvane.Renderer(with_alpha(scene))
    renderer.render()
    report = renderer.report
    assert isinstance(report, dict)
    assert (report["width"], report["height"], report["visible_pixels"]) == (120, 90, 119 * 90)
    assert list(report["percentiles"]) == [0.1, 1.0, 25.0, 50.0, 75.0, 99.0, 99.75]
    values = list(report["percentiles"].values())
    assert values == sorted(values) and report["log_luminance_min"] <= values[0] <= values[-1] <= report["log_luminance_max"]
    assert report["dynamic_range_stops"] == pytest.approx((values[-1] - values[0]) / np.log10(2), rel=1e-5)
    assert list(report["milliseconds"]) == ["read", "split", "map", "points", "write"]
    assert "struct_size" not in report and report["bytes"] > 90 * 120


def test_a_notebook_shows_a_table_and_a_picture(scene):
    renderer = selvane.Renderer(with_alpha(scene), order="bgr")
    np.testing.assert_array_equal(png_pixels(renderer._repr_png_()), renderer.preview(768, order="rgb", channels=3))
    table = renderer.report._repr_html_()
    assert table.startswith("<table><tr><th>Size</th><td>120 x 90 pixels") and table.endswith("</td></tr></table>")


def warnings_of(call):
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        call()
    assert all(issubclass(warning.category, selvane.PictureWarning) for warning in caught)
    assert all(warning.filename == __file__ for warning in caught)  # the caller's line, not the package's
    return [str(warning.message) for warning in caught]


def test_samples_that_were_replaced_are_a_warning(scene):
    scene[3, 4] = (np.nan, -1, np.inf)
    scene[5, 6, 1] = np.nan
    expected = ["samples were replaced: 2 NaN, 1 negative, 1 infinite"]
    assert warnings_of(lambda: selvane.tonemap(scene)) == expected
    assert warnings_of(lambda: selvane.Renderer(scene)) == expected
    assert warnings_of(lambda: selvane.Renderer().set_picture(scene)) == expected


def test_hot_pixels_are_a_warning(scene):
    scene[30, 40] = 1e5
    expected = ["1 hot pixels were lowered; keep_hot_samples=True leaves them"]
    assert warnings_of(lambda: selvane.tonemap(scene)) == expected
    assert warnings_of(lambda: selvane.tonemap(scene, keep_hot_samples=True)) == []


@pytest.mark.parametrize("form", [{}, {"dtype": "uint16"}, {"dtype": "float32"}, {"dtype": "float16", "linear": True}])
@pytest.mark.parametrize("exposure, what", [(-20, "black; try exposure=2"), (20, "white; try exposure=-2")])
def test_a_result_that_is_nearly_empty_is_a_warning(scene, exposure, what, form):
    expected = [f"the picture is nearly {what}, or look at the input"]
    assert warnings_of(lambda: selvane.tonemap(scene, exposure=exposure, **form)) == expected
    assert warnings_of(lambda: selvane.tonemap(scene, **form)) == []


def test_a_large_empty_result_is_seen_as_well():
    assert len(warnings_of(lambda: selvane.tonemap(make_scene(1500, 2000), exposure=-20))) == 1


def test_without_a_picture_there_is_a_runtime_error():
    renderer = selvane.Renderer()
    assert repr(renderer) == "<selvane.Renderer without a picture>"
    calls = [renderer.render, renderer.preview, renderer.suggest, lambda: renderer.base, lambda: renderer.effective]
    for call in calls:
        with pytest.raises(RuntimeError, match="the handle has no picture yet"):
            call()


def test_a_limit_of_memory_is_a_memory_error(scene):
    with pytest.raises(MemoryError, match="limit"):
        selvane.tonemap(scene, memory_limit=1000)
    with pytest.raises(MemoryError, match="limit"):
        selvane.Renderer(scene, memory_limit=1000)


def test_a_renderer_is_neither_copied_nor_pickled(scene):
    renderer = selvane.Renderer(scene)
    for make in (copy.copy, copy.deepcopy, pickle.dumps):
        with pytest.raises(TypeError, match="cannot be copied or pickled"):
            make(renderer)


class Stop(Exception):
    pass


def calls_with_progress(renderer, scene):
    return {
        "tonemap": lambda progress: selvane.tonemap(scene, radius=2, progress=progress),
        "set_picture": lambda progress: renderer.set_picture(scene, progress=progress),
        "suggest": lambda progress: renderer.suggest(progress=progress),
        "render": lambda progress: renderer.render(progress=progress),
        "preview": lambda progress: renderer.preview(1000, progress=progress),
    }


def test_the_steps_of_progress_are_whole_and_make_a_hundred():
    scene = make_scene(1500, 2000)
    renderer = selvane.Renderer()
    for name, call in calls_with_progress(renderer, scene).items():
        steps = []
        call(steps.append)
        assert sum(steps) == 100 and all(isinstance(step, int) and step > 0 for step in steps), name
        assert len(steps) > 1 or name != "tonemap", name  # the others may take less time than lies between two calls


def test_what_progress_raises_cancels_and_reaches_the_caller():
    scene = make_scene(1500, 2000)
    renderer = selvane.Renderer()

    def stop(step):
        raise Stop

    calls = calls_with_progress(renderer, scene)
    expected = selvane.tonemap(scene)
    for name, call in calls.items():
        with pytest.raises(Stop):
            call(stop)
        renderer.set_picture(scene)
    np.testing.assert_array_equal(renderer.render(), expected)


def test_the_bar_of_tqdm_is_full(scene):
    tqdm = pytest.importorskip("tqdm").tqdm
    with tqdm(total=100, disable=None) as bar:
        selvane.tonemap(scene, progress=bar.update)
    with tqdm(total=100, file=open("/dev/null", "w"), mininterval=0) as bar:
        selvane.tonemap(scene, progress=bar.update)
        assert bar.n == 100


def test_a_progress_function_cannot_use_the_renderer(scene):
    renderer = selvane.Renderer(scene)

    def uses(call):
        def progress(step):
            with pytest.raises(RuntimeError, match="its progress function cannot use it"):
                call()
            met.append(step)

        return progress

    for call in (renderer.render, renderer.suggest, lambda: renderer.report, lambda: renderer.update(exposure=1)):
        met = []
        renderer.update(exposure=0.1)
        renderer.render(progress=uses(call))
        assert sum(met) == 100
