"""The installed program, wherever it was put: it finds its windows in its own folder of libraries."""
import os
import pathlib
import shutil
import subprocess
import unittest

from desktop import DesktopScene


class Installed(DesktopScene):
    def setUp(self):
        super().setUp()
        shutil.rmtree(self.folder / "bin")
        build = pathlib.Path(os.environ["VENNIC"]).parent.parent
        subprocess.run(["cmake", "--install", build, "--prefix", self.folder], check=True, stdout=subprocess.DEVNULL, timeout=100,
                       env={**os.environ, "CMAKE_INSTALL_MODE": "ABS_SYMLINK_OR_COPY"})
        self.module, = self.folder.glob("lib*/**/vennic-screen.so")
        # What is told where it is by the kernel has to be a file.
        for link in (self.folder / "bin" / "vennic", self.module):
            built = link.resolve()
            link.unlink()
            shutil.copy2(built, link)

    def test_its_windows_come_from_its_own_folder_of_libraries(self):
        self.assertFalse((self.folder / "bin" / "vennic-screen.so").exists())
        self.start_client()
        self.assertEqual(self.client.verb("toggle").returncode, 0)
        self.await_popover()
        maps = pathlib.Path(f"/proc/{self.client.process.pid}/maps").read_text(encoding="utf-8")
        self.assertIn(str(self.module), maps)

    def test_without_the_module_it_says_to_install_it_again(self):
        self.module.unlink()
        self.start_client()
        toggled = self.client.verb("toggle")
        self.assertEqual((toggled.returncode, toggled.stderr), (1, "L'écran de Vennic ne se charge pas : réinstalle Vennic.\n"))


if __name__ == "__main__":
    unittest.main()
