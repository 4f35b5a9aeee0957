"""A wheel with the library is one of a platform, though of any Python."""

from setuptools import Distribution, setup


class WithLibrary(Distribution):
    def has_ext_modules(self) -> bool:
        return True


try:
    from wheel.bdist_wheel import bdist_wheel

    class AnyPython(bdist_wheel):
        def get_tag(self):
            return ("py3", "none", super().get_tag()[2])

    commands = {"bdist_wheel": AnyPython}
except ImportError:
    commands = {}

setup(distclass=WithLibrary, cmdclass=commands)
