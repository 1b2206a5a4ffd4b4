"""git, run with argument lists and a time-out each, never through a shell."""

import os
import subprocess

IDENTITY = ["-c", "user.name=vorn", "-c", "user.email=vorn@ship.invalid", "-c", "init.defaultBranch=main",
            "-c", "advice.detachedHead=false"]


class GitError(Exception):
    def __init__(self, args, result):
        text = (result.stderr or result.stdout or "").strip().splitlines()
        super().__init__(text[-1] if text else f"git {args[0]} exited {result.returncode}")


def git(args, cwd=None, timeout=60, check=True):
    try:
        result = subprocess.run(["git", *IDENTITY, *args], cwd=cwd, capture_output=True, text=True,
                                timeout=timeout, stdin=subprocess.DEVNULL)
    except subprocess.TimeoutExpired as error:
        raise GitError(args, subprocess.CompletedProcess(args, -1, "", f"timed out after {timeout} s")) from error
    if check and result.returncode != 0:
        raise GitError(args, result)
    return result


def output(args, cwd=None, timeout=30):
    result = git(args, cwd=cwd, timeout=timeout, check=False)
    return result.stdout.strip() if result.returncode == 0 else None


def is_checkout(path):
    return os.path.isdir(path) and output(["rev-parse", "--show-toplevel"], cwd=path) is not None


def origin(path):
    return output(["remote", "get-url", "origin"], cwd=path) if os.path.isdir(path) else None


def is_dirty(path):
    return bool(output(["status", "--porcelain"], cwd=path))


def init(path, files, message="Initial commit", bare_remote=None):
    """A new repository with `files` ({relative path: text}) committed on main."""
    os.makedirs(path, exist_ok=True)
    git(["init", "-q", "-b", "main"], cwd=path)
    write_files(path, files)
    commit_all(path, message)
    if bare_remote:
        os.makedirs(os.path.dirname(bare_remote), exist_ok=True)
        git(["init", "-q", "--bare", "-b", "main", bare_remote])
        git(["remote", "add", "origin", bare_remote], cwd=path)
        git(["push", "-q", "-u", "origin", "main"], cwd=path)


def write_files(root, files):
    for relative, text in files.items():
        target = os.path.join(root, relative)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        with open(target, "w", encoding="utf-8") as handle:
            handle.write(text)


def commit_all(path, message):
    git(["add", "-A"], cwd=path)
    git(["commit", "-q", "--allow-empty", "-m", message], cwd=path)


def branch_exists(repo, branch):
    return git(["rev-parse", "--verify", "-q", f"refs/heads/{branch}"], cwd=repo, check=False).returncode == 0


def add_worktree(repo, path, branch):
    if branch_exists(repo, branch):
        git(["worktree", "add", "-q", path, branch], cwd=repo)
    else:
        git(["worktree", "add", "-q", "-b", branch, path, "main"], cwd=repo)


def remove_worktree(repo, path, branch=None):
    if os.path.isdir(path):
        git(["worktree", "remove", "--force", path], cwd=repo, check=False)
    git(["worktree", "prune"], cwd=repo, check=False)
    if branch:
        git(["branch", "-q", "-D", branch], cwd=repo, check=False)


def merge(repo, branch, message):
    """Merges into the checked-out main; gives the number of files the branch changed."""
    changed = output(["diff", "--name-only", f"main...{branch}"], cwd=repo) or ""
    result = git(["merge", "--no-ff", "-q", "-m", message, branch], cwd=repo, check=False)
    if result.returncode != 0:
        git(["merge", "--abort"], cwd=repo, check=False)
        raise GitError(["merge"], result)
    return len([line for line in changed.splitlines() if line])


def push(repo, ref):
    if origin(repo):
        git(["push", "-q", "origin", ref], cwd=repo, timeout=60)
        return True
    return False


def clone(remote, target, timeout=300):
    git(["clone", "-q", remote, target], timeout=timeout)
