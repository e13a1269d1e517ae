"""Films: frames are measured, smoothed over time, and rendered with that."""

import pickle

import numpy as np
import pytest
import selvane
from conftest import make_scene


def film(count):
    """A scene whose light drifts; a lamp shines in frame 7."""
    return [make_scene(60, 80) * np.float32(1 + 0.02 * i + 4 * (i == 7)) for i in range(count)]


def measured(frames, **settings):
    renderer = selvane.Renderer()
    renderer.update(**settings)
    found = []
    for frame in frames:
        renderer.set_picture(frame)
        found.append(renderer.measure())
    return found


def test_a_frame_has_the_settings_and_points_of_a_render(scene):
    renderer = selvane.Renderer(scene)
    renderer.update(exposure=0.5, hue=[(0.25, 0.75)])
    frame = renderer.measure()
    expected = renderer.render()
    effective, report = renderer.effective, renderer.report
    for name in ("compression", "smoothness", "radius", "white_clip", "black_clip", "exposure", "contrast", "saturation"):
        assert getattr(frame, name) == pytest.approx(getattr(effective, name), rel=1e-6)
    assert (frame.black_point, frame.white_point) == (report["black_point"], report["white_point"])
    assert len(frame.cells) == 64 and -2 < min(frame.cells) < max(frame.cells) < 2

    renderer.settings = frame.to_settings(renderer.settings)
    assert not renderer.settings.automatic and renderer.settings.points == "given"
    assert renderer.settings.hue == ((0.25, 0.75),)
    np.testing.assert_array_equal(renderer.render(), expected)


def test_a_lamp_of_one_frame_is_left_out():
    frames = measured(film(20))
    smooth = selvane.smooth(frames)
    assert [frame.odd for frame in smooth] == [i == 7 for i in range(20)]
    assert [frame.cut for frame in smooth] == 20 * [False]
    points = np.log([frame.white_point for frame in smooth])
    assert np.abs(np.diff(points)).max() < 0.1 * np.abs(np.diff(np.log([frame.white_point for frame in frames]))).max()


def test_a_cut_is_found_and_does_not_bleed():
    first, second = film(10)[:6], [1000 * frame[::-1, ::-1] for frame in film(10)[:6]]
    together = selvane.smooth(measured(first + second))
    assert [i for i, frame in enumerate(together) if frame.cut] == [6]
    assert together[:6] == selvane.smooth(measured(first))


def test_windows_and_their_failures():
    frames = measured(film(5))
    assert selvane.smooth(frames, window=1) == frames
    assert selvane.smooth([]) == []
    with pytest.raises(ValueError, match="window"):
        selvane.smooth(frames, window=-1)
    with pytest.raises(ValueError, match="exposure"):
        selvane.smooth([selvane.Frame(exposure=float("nan"))])
    with pytest.raises(RuntimeError, match="no picture"):
        selvane.Renderer().measure()


def test_a_frame_travels_whole(scene):
    frame = selvane.Renderer(scene).measure()
    assert pickle.loads(pickle.dumps(frame)) == frame
