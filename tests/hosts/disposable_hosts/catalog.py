"""Every image there is, by name."""

from disposable_hosts.apt import images as apt_images
from disposable_hosts.dnf import images as dnf_images

RECIPES = {recipe.name: recipe for recipe in (*apt_images.RECIPES, *dnf_images.RECIPES)}
