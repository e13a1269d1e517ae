"""Settings: their defaults, texts, ranges and curves."""

import dataclasses

import numpy as np
import pytest
import selvane

DEFAULTS = {
    "automatic": True,
    "wrap": False,
    **dict.fromkeys(("compression", "smoothness", "radius", "adaptation", "white_clip", "black_clip"), 0.0),
    **dict.fromkeys(("exposure", "contrast", "saturation"), 0.0),
    "points": "measured",
    "black_point": 0.0,
    "white_point": 0.0,
    **dict.fromkeys(("hue", "hue_saturation", "hue_lightness"), ()),
}

FULL = selvane.Settings(
    automatic=False,
    wrap=True,
    compression=-12.5,
    smoothness=3,
    radius=-4,
    adaptation=50,
    white_clip=10,
    black_clip=1,
    exposure=0.1,
    contrast=7,
    saturation=-8,
    points="given",
    black_point=0.001,
    white_point=3.7,
    hue=[(0.1, 0.4)],
    hue_saturation=[(0.2, 0.6), (0.7, 0.1)],
    hue_lightness=[(i / 16, 0.5) for i in range(16)],
)

RANGES = {
    "compression": (-100, 100),
    "smoothness": (-10, 10),
    "radius": (-10, 10),
    "adaptation": (-100, 100),
    "white_clip": (-100, 100),
    "black_clip": (-100, 100),
    "exposure": (-20, 20),
    "contrast": (-100, 100),
    "saturation": (-100, 100),
}


def test_the_defaults_are_those_of_the_library():
    assert dataclasses.asdict(selvane.Settings()) == DEFAULTS
    assert selvane.Renderer().settings == selvane.Settings() == selvane.Settings.from_toml("")


def test_what_is_set_comes_back():
    renderer = selvane.Renderer()
    renderer.settings = FULL
    assert renderer.settings == FULL
    assert renderer.settings.exposure == 0.1  # not the nearest 32-bit float, 0.10000000149011612


def test_a_text_gives_the_same_settings():
    assert selvane.Settings.from_toml(FULL.to_toml()) == FULL
    assert selvane.Settings().to_toml() == ""
    assert selvane.Settings(exposure=0.5, hue=[(0.25, 0.75)]).to_toml() == "exposure = 0.5\nhue = [[0.25, 0.75]]\n"


@pytest.mark.parametrize(
    "text, message",
    [("contrast = 5\nexposre = 1\n", 'line 2: there is no setting "exposre"'), ("exposure = 21", "exposure"), ("a\0b", "zero")],
)
def test_a_text_that_cannot_be_read_is_refused_with_line_and_name(text, message):
    with pytest.raises(ValueError, match=message):
        selvane.Settings.from_toml(text)


@pytest.mark.parametrize("name", RANGES)
def test_the_ends_of_a_range_are_taken_and_what_is_beyond_is_refused(name):
    renderer = selvane.Renderer()
    for value in RANGES[name]:
        renderer.update(**{name: value})
    before = renderer.settings
    for value in (RANGES[name][0] - 0.01, RANGES[name][1] + 0.01, float("nan"), float("inf"), 1e300):
        with pytest.raises(ValueError, match=name):
            renderer.update(**{name: value})
    assert renderer.settings == before


@pytest.mark.parametrize("name", ["hue", "hue_saturation", "hue_lightness"])
@pytest.mark.parametrize("points", [[(i / 17, 0.5) for i in range(17)], [(0.1, 0.5), (0.1, 0.6)], [(2, 0.5)], [(0.5, -1)]])
def test_a_curve_that_makes_no_sense_is_refused_by_name(name, points):
    with pytest.raises(ValueError, match=name):
        selvane.Renderer().update(**{name: points})


def test_curves_are_any_sequences_of_pairs():
    expected = ((0.25, 0.75), (0.5, 0.5))
    for points in ([(0.25, 0.75), (0.5, 0.5)], [[0.25, 0.75], [0.5, 0.5]], np.array([[0.25, 0.75], [0.5, 0.5]])):
        assert selvane.Settings(hue=points).hue == expected


def test_a_curve_over_hue_moves_the_colours(scene):
    grey = selvane.tonemap(scene, hue_saturation=[(0.0, 0.0), (0.5, 0.0)])
    assert np.ptp(grey.astype(int), axis=2).max() <= 1 < np.ptp(selvane.tonemap(scene).astype(int), axis=2).max()


def test_settings_do_not_change_and_are_replaced():
    settings = selvane.Settings(exposure=1)
    with pytest.raises(dataclasses.FrozenInstanceError):
        settings.exposure = 2
    assert settings.replace(contrast=2) == selvane.Settings(exposure=1, contrast=2)
    with pytest.raises(ValueError, match="points"):
        selvane.Settings(points="guessed")


def test_presets_are_those_of_the_library_and_the_persons_own(tmp_path, monkeypatch):
    monkeypatch.setenv("XDG_CONFIG_HOME", str(tmp_path))
    assert list(selvane.presets()) == ["natural", "clear", "soft", "dramatic", "interior", "night", "flat"]
    assert all(text.endswith(".") and " " in text for text in selvane.presets().values())
    assert selvane.Settings.preset("natural") == selvane.Settings()
    assert selvane.Settings.preset("clear") != selvane.Settings()
    (tmp_path / "selvane" / "presets").mkdir(parents=True)
    (tmp_path / "selvane" / "presets" / "clear.toml").write_text("exposure = 0.25\n")
    assert selvane.Settings.preset("clear") == selvane.Settings(exposure=0.25)


def test_a_preset_and_sliders_go_together(scene):
    renderer = selvane.Renderer(scene)
    renderer.settings = selvane.Settings.preset("dramatic").replace(exposure=0.5)
    expected = renderer.render()
    np.testing.assert_array_equal(selvane.tonemap(scene, preset="dramatic", exposure=0.5), expected)
