"""The version of the package, which is that of the library it was made for."""

VERSION = "0.1.0"
