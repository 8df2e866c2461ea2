"""Every image there is, by name."""

from disposable_hosts.apt import images as apt_images

RECIPES = {recipe.name: recipe for recipe in (*apt_images.RECIPES,)}
