"""Cifra's four functions from Python on Windows (ctypes):  python encrypt_text.py C:\\FOLDER\\Cifra.dll

Python and the DLL must be for the same processor.
"""

import ctypes
import sys


def load(path):
    """Loads Cifra.dll by its full path and declares its four functions."""
    cifra = ctypes.CDLL(path)
    text, size = ctypes.c_char_p, ctypes.c_int32
    for name, arguments in {
        "BlowfishAndBase64Encode": [text, text, text, size],
        "Base64AndBlowfishDecode": [text, text, text, size],
        "CalculateTextMd5": [text, text],
        "CalculateWideCharTextMd5": [ctypes.c_wchar_p, text],
    }.items():
        function = getattr(cifra, name)
        function.argtypes = arguments
        function.restype = ctypes.c_uint32
    return cifra


def called(function, *arguments, size, pass_size=True):
    """The text that a function writes to a buffer of `size` bytes."""
    buffer = ctypes.create_string_buffer(size)
    result = function(*arguments, buffer, *([size] if pass_size else []))
    if result != 0:
        raise OSError(result, f"{function.__name__} failed with error {result}")
    return buffer.value


def main():
    cifra = load(sys.argv[1])
    key = b"a key of up to 56 bytes"
    encrypted = called(cifra.BlowfishAndBase64Encode, "meet me at noon".encode(), key, size=1100)
    print(encrypted.decode("ascii"))
    print(called(cifra.Base64AndBlowfishDecode, encrypted, key, size=4096).decode("utf-8"))
    print(called(cifra.CalculateTextMd5, b"abc", size=33, pass_size=False).decode("ascii"))
    print(called(cifra.CalculateWideCharTextMd5, "abc", size=33, pass_size=False).decode("ascii"))


if __name__ == "__main__":
    main()
