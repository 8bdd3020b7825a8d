"""A connection for plays against machines of machines.py: by the first process of a machine (ansible_machine_pid). One
that has none any more cannot be reached, as a host that is down."""
import pathlib
import shutil
import subprocess

from ansible.errors import AnsibleConnectionFailure
from ansible.plugins.connection import ConnectionBase

DOCUMENTATION = """
    name: nsenter
    short_description: enters the namespaces of a process of this host
    description: For tests.
    options:
      pid:
        description: The process.
        type: int
        vars: [{name: ansible_machine_pid}]
"""
PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"


class Connection(ConnectionBase):
    transport = "nsenter"
    has_pipelining = True

    def _connect(self):
        if not pathlib.Path(f"/proc/{self.pid()}/root/usr").exists():
            raise AnsibleConnectionFailure(f"{self._play_context.remote_addr} is down")
        self._connected = True
        return self

    def pid(self):
        return self.get_option("pid")

    def exec_command(self, cmd, in_data=None, sudoable=True):
        super().exec_command(cmd, in_data=in_data, sudoable=sudoable)
        self._connect()
        done = subprocess.run(["nsenter", f"--target={self.pid()}", "--mount", "--pid", "--net", "--uts", "--ipc", "--root",
                               "--", "env", "--chdir=/", "-i", f"PATH={PATH}", "HOME=/root", "LANG=C.UTF-8", "sh", "-c", cmd],
                              input=in_data or b"", capture_output=True)
        return done.returncode, done.stdout, done.stderr

    def there(self, path):
        return f"/proc/{self.pid()}/root/{path.lstrip('/')}"

    def put_file(self, in_path, out_path):
        super().put_file(in_path, out_path)
        shutil.copy(in_path, self.there(out_path))

    def fetch_file(self, in_path, out_path):
        super().fetch_file(in_path, out_path)
        shutil.copy(self.there(in_path), out_path)

    def close(self):
        self._connected = False
