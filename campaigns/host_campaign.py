"""What the campaigns that talk to das as other programs do have in common."""
import shutil
import sys
from pathlib import Path

from campaign import SOURCES, Campaign  # noqa: F401 (handed on)

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "testkit"))
from phone import PATIENCE, Phone, Wire, asked, call, request  # noqa: E402,F401 (handed on)


class Place(Phone):
    """A telephone with its list of device items, and a host that may serve it."""

    def __init__(self, campaign):
        self.campaign = campaign
        self.make_phone(campaign.das)
        (self.root / "tmp").mkdir()
        shutil.copy(SOURCES / "deploy" / "DasGenConfigDeviceDataItems.csv",
                    self.root / "Aurel_Deploy")
        self.host = None
        self.wires = []

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.host is not None:
            self.host.kill()
            self.host.wait()
        self.forget_host()
        shutil.rmtree(self.place)

    def serve(self, **more):
        """Starts a host and waits until it answers."""
        self.host = self.popen("serve", "--socket", self.path, **more)
        self.wait_for(self.host)
        self.wire().exchange(asked("getCurrentUser"))
        return self.host

    def end_host(self):
        self.host.terminate()
        status = self.host.wait(PATIENCE)
        self.campaign.check(status == 0, f"das serve ended with {status}: {self.logged()[-2000:]}")
        self.host = None

    def forget_host(self):
        """Cleans up after a host has ended in an unusual way, including its connections."""
        self.host = None
        for wire in self.wires:
            wire.close()
        self.wires.clear()

    def wire(self):
        self.wires.append(Wire(self.path))
        return self.wires[-1]
