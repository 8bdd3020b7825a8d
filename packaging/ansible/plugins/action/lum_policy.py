"""Takes a policy's header and its data files from where the play runs to the node, and runs the module there."""
import os

from ansible.errors import AnsibleActionFail, AnsibleError
from ansible.module_utils.parsing.convert_bool import boolean
from ansible.plugins.action import ActionBase
from ansible_collections.tessel.lumconf.plugins.module_utils.document import Document, DocumentError


class ActionModule(ActionBase):
    TRANSFERS_FILES = True

    def run(self, tmp=None, task_vars=None):
        result = super().run(tmp, task_vars)
        del tmp
        arguments = dict(self._task.args)
        try:
            if arguments.get("src") and not boolean(arguments.get("remote_src", False), strict=False):
                arguments["src"] = self.take_over(arguments["src"])
                arguments["remote_src"] = True
            result.update(self._execute_module(module_args=arguments, task_vars=task_vars))
        finally:
            self._remove_tmp_path(self._connection._shell.tmpdir)
        return result

    def take_over(self, src):
        """Returns the header's path on the node."""
        try:
            document = Document(self._find_needle("files", src))
        except (AnsibleError, DocumentError) as reason:
            raise AnsibleActionFail(str(reason)) from reason
        names = [os.path.basename(document.path), *document.files]
        folder = self._connection._shell.tmpdir or self._make_tmp_path()
        places = []
        for name in names:
            local = os.path.join(document.folder(), name)
            if not os.path.isfile(local):
                raise AnsibleActionFail("the data file '%s' of '%s' is not there" % (name, document.path))
            places.append(self._transfer_file(local, self._connection._shell.join_path(folder, name)))
        self._fixup_perms2([folder, *places])
        return places[0]
