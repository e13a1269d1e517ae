"""Arrays of every kind give the bits of a C program."""

import numpy as np
import pytest
import selvane
from conftest import FORMATS, as_dtype, make_scene, with_alpha
from selvane._pixels import picture_record

SPACES = {"srgb": 0, "adobe": 1, "prophoto": 2, "display-p3": 3, "rec2020": 4, "aces-ap0": 5, "aces-ap1": 6}


def pointer_of(array):
    return picture_record(array, "srgb", None, "rgb", False)[0].pixels


@pytest.mark.parametrize("alpha", [False, True])
@pytest.mark.parametrize("dtype", FORMATS)
def test_each_kind_of_sample_gives_the_bits_of_c(scene, rendered_by_c, dtype, alpha):
    array = as_dtype(scene, dtype)
    array = with_alpha(array) if alpha else array
    np.testing.assert_array_equal(selvane.tonemap(array), rendered_by_c(array))


@pytest.mark.parametrize("linear", [False, True])
@pytest.mark.parametrize("space", SPACES)
@pytest.mark.parametrize("dtype", FORMATS)
def test_each_kind_of_result_gives_the_bits_of_c(scene, rendered_by_c, dtype, space, linear):
    result = selvane.tonemap(scene, dtype=dtype, output_space=space, linear=linear, channels=4)
    expected = rendered_by_c(scene, dtype, 4, out_space=SPACES[space], linear=int(linear))
    np.testing.assert_array_equal(result, expected)


@pytest.mark.parametrize("space", SPACES)
def test_each_space_gives_the_bits_of_c(scene, rendered_by_c, space):
    result = selvane.tonemap(scene, space=space)
    np.testing.assert_array_equal(result, rendered_by_c(scene, primaries=SPACES[space]))
    if space != "srgb":
        assert not np.array_equal(result, selvane.tonemap(scene))


@pytest.mark.parametrize("form", [list, lambda pairs: np.reshape(pairs, 8)])
def test_chromaticities_give_the_bits_of_c(scene, rendered_by_c, form):
    pairs = [(0.68, 0.32), (0.265, 0.69), (0.15, 0.06), (0.314, 0.351)]
    text = ",".join(str(value) for pair in pairs for value in pair)
    expected = rendered_by_c(scene, primaries=100, chromaticities=text)
    np.testing.assert_array_equal(selvane.tonemap(scene, space=form(pairs)), expected)
    expected = rendered_by_c(scene, "float32", out_space=100, out_chromaticities=text)
    result = selvane.tonemap(scene, output_space=form(pairs), dtype="float32")
    np.testing.assert_array_equal(result, expected)
    assert not np.array_equal(result, selvane.tonemap(scene, dtype="float32", linear=True))


@pytest.mark.parametrize(
    "transfer, fields",
    [("linear", {"transfer": 1}), ("srgb", {"transfer": 2}), ("rec2020", {"transfer": 4}), (1.9, {"transfer": 3, "gamma": 1.9})],
)
def test_each_transfer_gives_the_bits_of_c(scene, rendered_by_c, transfer, fields):
    array = as_dtype(scene, "uint16")
    np.testing.assert_array_equal(selvane.tonemap(array, transfer=transfer), rendered_by_c(array, **fields))


def test_settings_hot_samples_and_dither_give_the_bits_of_c(scene, rendered_by_c):
    scene[10, 10] = 1e6
    with pytest.warns(selvane.PictureWarning, match="1 hot pixels"):
        tamed = selvane.tonemap(scene, exposure=0.5, dither=True)
    left = selvane.tonemap(scene, exposure=0.5, dither=True, keep_hot_samples=True)
    fields = {"settings": "exposure = 0.5", "dither": 1}
    np.testing.assert_array_equal(tamed, rendered_by_c(scene, **fields))
    np.testing.assert_array_equal(left, rendered_by_c(scene, keep_hot_samples=1, **fields))
    assert not np.array_equal(tamed, left)


VIEWS = {
    "rows from the bottom up": lambda a: a[::-1],
    "columns from the right": lambda a: a[:, ::-1],
    "channels from the last": lambda a: a[..., ::-1],
    "every second pixel": lambda a: a[::2, 1::3],
    "a crop": lambda a: a[7:60, 20:77],
    "columns as rows": lambda a: a.transpose(1, 0, 2),
    "planes": lambda a: np.moveaxis(np.ascontiguousarray(np.moveaxis(a, 2, 0)), 0, 2),
    "bytes of planes, as OpenEXR gives them": lambda a: np.moveaxis(
        np.frombuffer(b"".join(a[..., i].tobytes() for i in range(3)), a.dtype).reshape(3, *a.shape[:2]), 0, 2
    ),
    "the order of Fortran": np.asfortranarray,
    "three of five channels": lambda a: np.dstack([a, a])[..., 1:4],
    "one row": lambda a: a[5:6],
    "one column": lambda a: a[:, 5:6],
    "read-only": lambda a: np.frombuffer(a.tobytes(), a.dtype).reshape(a.shape),
}


@pytest.mark.filterwarnings("ignore::selvane.PictureWarning")
@pytest.mark.parametrize("name", VIEWS)
@pytest.mark.parametrize("dtype", FORMATS)
def test_any_strides_are_read_where_they_lie(scene, dtype, name):
    view = VIEWS[name](as_dtype(scene, dtype))
    assert pointer_of(view) == view.ctypes.data
    np.testing.assert_array_equal(selvane.tonemap(view), selvane.tonemap(view.copy(order="C")))


def test_samples_at_odd_addresses_are_read_where_they_lie(scene):
    packed = np.zeros(scene.shape[:2], [("mark", "u1"), ("pixel", "f4", 3)])
    packed["pixel"] = scene
    assert not packed["pixel"].flags.aligned and pointer_of(packed["pixel"]) == packed["pixel"].ctypes.data
    np.testing.assert_array_equal(selvane.tonemap(packed["pixel"]), selvane.tonemap(scene))


COPIED = {
    "rows that are one": lambda a: np.broadcast_to(a[40], a.shape),
    "grey as three channels": lambda a: np.broadcast_to(a[..., :1], a.shape),
    "rows that overlap": lambda a: np.lib.stride_tricks.as_strided(a, (80, 100, 3), (a.strides[0] // 2, *a.strides[1:])),
    "another byte order": lambda a: a.astype(">f4"),
}


@pytest.mark.parametrize("name", COPIED)
def test_what_the_library_cannot_read_is_copied(scene, name):
    view = COPIED[name](scene)
    assert pointer_of(view) != view.ctypes.data
    plain = view.astype("f4", order="C")
    np.testing.assert_array_equal(selvane.tonemap(view), selvane.tonemap(plain))


def test_blue_first_in_and_out_is_the_same_picture(scene):
    expected = selvane.tonemap(scene)
    np.testing.assert_array_equal(selvane.tonemap(scene[..., ::-1].copy(), order="bgr"), expected[..., ::-1])
    renderer = selvane.Renderer(scene)
    np.testing.assert_array_equal(renderer.render(order="bgr"), expected[..., ::-1])
    np.testing.assert_array_equal(renderer.preview(120, order="bgr"), expected[..., ::-1])


@pytest.mark.parametrize("dtype", FORMATS)
def test_alpha_reaches_the_result_untouched(scene, dtype):
    array = with_alpha(as_dtype(scene, dtype))
    np.testing.assert_array_equal(selvane.tonemap(array, dtype=dtype)[..., 3], array[..., 3])
    assert selvane.tonemap(array, channels=3).shape == scene.shape


def test_a_given_array_is_filled_and_its_gaps_stay(scene):
    whole = np.full((scene.shape[0], 2 * scene.shape[1], 3), 77, np.uint8)
    out = whole[::-1, ::2]
    assert selvane.tonemap(scene, out=out) is out
    np.testing.assert_array_equal(whole[::-1, ::2], selvane.tonemap(scene))
    assert (whole[:, 1::2] == 77).all()


@pytest.mark.parametrize(
    "out, text",
    [
        (np.broadcast_to(np.zeros(3, np.uint8), (90, 120, 3)), "out cannot be filled"),
        (np.lib.stride_tricks.as_strided(np.zeros(90 * 120 * 3, np.uint8), (90, 120, 3), (0, 3, 1)), "out cannot be filled"),
        (np.frombuffer(bytes(90 * 120 * 3), np.uint8).reshape(90, 120, 3), "out cannot be filled"),
        (np.zeros((90, 120, 3), ">u2"), "out cannot be filled"),
        (np.zeros((90, 121, 3), np.uint8), "width and height of the target"),
        (np.zeros((90, 120), np.uint8), "shape of out"),
        (np.zeros((90, 120, 3)), "out has samples of float64"),
    ],
)
def test_an_array_that_cannot_be_filled_is_refused(scene, out, text):
    with pytest.raises(ValueError, match=text):
        selvane.tonemap(scene, out=out)


@pytest.mark.parametrize(
    "array, text",
    [
        (np.zeros((9, 9), np.float32), r"shape of the picture is \(9, 9\)"),
        (np.zeros((9, 9, 2), np.float32), "3 or 4"),
        (np.zeros((2, 9, 9, 3), np.float32), "3 or 4"),
        (np.zeros((0, 9, 3), np.float32), "height is not 1 to 1000000"),
        (np.zeros((9, 0, 3), np.float32), "width is not 1 to 1000000"),
        (np.zeros((9, 9, 3)), "samples of float64, not of uint8, uint16, float16 or float32"),
        (np.zeros((9, 9, 3), np.int16), "samples of int16"),
        ([[[1, 2, 3]]], "samples of int64"),
        ("a text", "shape"),
    ],
)
def test_a_picture_of_another_form_is_refused(array, text):
    with pytest.raises(ValueError, match=text):
        selvane.tonemap(array)


@pytest.mark.parametrize(
    "options, text",
    [
        ({"space": "sRGB"}, "space is 'sRGB', none of 'srgb', 'adobe'"),
        ({"space": (0.3, 0.3)}, "space has 2 chromaticities"),
        ({"space": [0] * 8}, "chromaticities"),
        ({"transfer": "gamma"}, "transfer is 'gamma'"),
        ({"transfer": 11.0}, "gamma"),
        ({"transfer": float("nan")}, "gamma"),
        ({"order": "rbg"}, "order is 'rbg', none of 'rgb', 'bgr'"),
        ({"output_space": (0.3, 0.3)}, "output_space has 2 chromaticities"),
        ({"output_space": "lab"}, "output_space is 'lab'"),
        ({"channels": 5}, "3 or 4"),
        ({"dtype": "float64"}, "samples of float64"),
        ({"threads": 257}, "threads"),
        ({"preset": "nothing"}, 'there is no preset "nothing"'),
        ({"exposure": 21}, "exposure"),
    ],
)
def test_an_option_that_makes_no_sense_is_refused_by_name(scene, options, text):
    with pytest.raises(ValueError, match=text):
        selvane.tonemap(scene, **options)


def test_a_slider_that_does_not_exist_is_a_type_error(scene):
    with pytest.raises(TypeError, match="exposre"):
        selvane.tonemap(scene, exposre=1)


@pytest.mark.parametrize("linear", [False, True])
@pytest.mark.parametrize("space", list(SPACES)[:5])
def test_profiles_are_icc_profiles(space, linear):
    profile = selvane.profile(space, linear)
    assert profile[36:40] == b"acsp" and int.from_bytes(profile[:4], "big") == len(profile)
    assert (profile == selvane.profile(space)) == (not linear)


def test_a_profile_of_another_space_is_refused():
    for space in ("aces-ap0", "lab"):
        with pytest.raises(ValueError, match=space):
            selvane.profile(space)


def test_the_scene_of_these_tests_has_eleven_stops():
    assert 10 < selvane.Renderer(make_scene()).report["dynamic_range_stops"] < 12
